#include "support/operator_driver.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <gtest/gtest.h>
#include <random>

namespace sarvane::test {
namespace {

const DescriptionCase descriptions[] = {
    {"all set, with a second curve", "5 50 0 12.5 2 x",
     "Median( %s, 5, 0.500000, 0.000000, 0.125000, 0) | in 0 6 | out curve1:1 curve2:1 curve3:1 | "
     "par 5 0.500000 0.000000 0.125000 0 | back 5"},
    {"bad percentages and windows change nothing", "0 101 -1 nan",
     "Median( %s, 13, 0.500000, -2147483648.000000, -2147483648.000000, 1) | in 0 | out curve1:1 curve2:1 curve3:1 | "
     "par 13 0.500000 -2147483648.000000 -2147483648.000000 1 | back 13"},
};

const RunCase runs[] = {
    {"lowest and highest", "2 0 100", {{3}, {1}, {2}}, {3, 3, U, 1, 3, U, 1, 2, U}},
    {"half way goes up, less goes down", "4 50 40 - 0", {{1}, {2}, {3}, {4}}, {1, 1, U, 2, 1, U, 2, 2, U, 3, 2, U}},
    {"equal neighbours are not blended", "3 30", {{0.1}, {0.1}, {0.1}}, {0.1, U, U, 0.1, U, U, 0.1, U, U}},
    {"what is no number takes no place", "2", {{1}, {INFINITY}, {U}, {3}}, {1, U, U, 1, U, U, 1, U, U, 2, U, U}},
    {"two curves share a window", "3 - - - - x", {{1, 3}, {8, 9}}, {2, U, U, 8, U, U}},
    {"the first of two equal zeros stands for both, even once it left", "1", {{-0.0}, {0.0}}, {-0.0, U, U, -0.0, U, U}},
    {"but not once all zeros have left", "1", {{0.0}, {5}, {-0.0}}, {0.0, U, U, 5, U, U, -0.0, U, U}},
};

TEST(MedianOp, Cases) { CheckCases("MedOp", descriptions, runs); }

TEST(MedianOp, ReportsWhatItRefuses) {
    OperatorDriver op("MedOp");
    EXPECT_EQ(op.Set(1, "0"), E_INVALIDARG);
    EXPECT_EQ(op.Set(2, "150"), S_OK);
    for (const short output : {short{-1}, short{3}})
        EXPECT_EQ(op->GetOutputName(output, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(op->RestoreState(0), E_INVALIDARG);
    EXPECT_EQ(op->SaveState(-1), E_INVALIDARG);
    EXPECT_EQ(op->SaveState(2), S_OK);
    EXPECT_EQ(op->SaveState(0), S_OK);
    EXPECT_EQ(op->RestoreState(1), E_INVALIDARG);
}

TEST(MedianOp, ResultsFollowParametersOnARunningWindow) {
    OperatorDriver op("MedOp");
    for (const double value : {1, 2, 5}) op.Step({value});
    op.Set(3, "25");
    ExpectSameBits(op.Step({U}), {2, 1.5, U}, "a percentile is there at once");
    op.Set(5, "no");
    ExpectSameBits(op.Step({U}), {2, 2, U}, "the nearer value");
    op.Set(1, "1");
    op.Set(2, "0");
    ExpectSameBits(op.Step({U}), {2, 2, U}, "an empty window keeps the results");
    op.Set(1, "2");
    ExpectSameBits(op.Step({7}), {U, U, U}, "after a window of 1 the next has to fill");
    ExpectSameBits(op.Step({9}), {7, 7, U}, "full");
    op.Set(1, "3");
    ExpectSameBits(op.Step({8}), {8, 8, U}, "and the one after that starts at once");
}

TEST(MedianOp, RestoresWhateverWindowWasSaved) {
    OperatorDriver op("MedOp");
    op.Set(1, "5");
    for (const double value : {1, 2, 3, 4, 5}) op.Step({value});
    op->SaveState(1);
    op.Set(1, "3");
    EXPECT_EQ(op->RestoreState(1), S_OK);
    ExpectSameBits(op.Step({U}), {4, U, U}, "the newest 3 are left");
    ExpectSameBits(op.Step({9}), {5, U, U}, "and the oldest of them goes");
    op.Set(1, "7");
    op->RestoreState(1);
    ExpectSameBits(op.Step({6}), {3.5, U, U}, "a larger window goes on filling");
    op->RestoreState(0);
    ExpectSameBits(op.Step({U}), {U, U, U}, "a slot never saved is an empty window");
    ExpectSameBits(op.Step({8}), {8, U, U}, "that goes on working");
}

TEST(MedianOp, AResetForgetsTheZeroThatStoodForAll) {
    OperatorDriver op("MedOp");
    op.Step({0.0});
    op.Reset();
    ExpectSameBits(op.Step({-0.0}), {-0.0, U, U}, "the first zero of the new run");
}

std::vector<double> Sorted(const std::deque<double>& values) {
    std::vector<double> sorted(values.begin(), values.end());
    std::ranges::sort(sorted);
    return sorted;
}

double At(const std::vector<double>& sorted, double fraction) {
    const double position = static_cast<double>(sorted.size() - 1) * fraction;
    const auto rank = static_cast<std::size_t>(position);
    const double weight = position - static_cast<double>(rank);
    if (weight == 0.0 || sorted[rank] == sorted[rank + 1]) return sorted[rank];
    return sorted[rank] * (1.0 - weight) + sorted[rank + 1] * weight;
}

TEST(MedianOp, AgreesWithSortedWindow) {
    std::mt19937 random(7);
    for (const std::size_t window : {1u, 2u, 13u, 500u}) {
        OperatorDriver op("MedOp");
        op.SetArguments(std::to_string(window) + " 50 10 99");
        std::deque<double> values;
        for (int bar = 0; bar < 3000; ++bar) {
            // Stretches of few different values alternate with falling and with scattered ones.
            const auto chance = static_cast<double>(random());
            const double stretches[] = {std::fmod(chance, 7.0) + 0.1, -std::sqrt(bar), chance};
            const double value = stretches[bar / 600 % 3];
            values.push_back(value);
            if (values.size() > window) values.pop_front();
            const std::vector<double> sorted = Sorted(values);
            ExpectSameBits(op.Step({value}), {At(sorted, 0.5), At(sorted, 0.1), At(sorted, 0.99)},
                           "bar " + std::to_string(bar));
        }
    }
}

}  // namespace
}  // namespace sarvane::test
