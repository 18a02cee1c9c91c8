#include "support/operator_driver.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace sarvane::test {

const DescriptionCase descriptions[] = {
    {"a new one", "",
     "TDRebo( %s, 0,         0.6180000000, 5, 1, 1, 1, 1, 3, 1, 1, 1, 3, 1, 1, 1) | in 0O 0H 0L 0C | out high:1 low:1"
     " | par 0         0.6180000000 5 1 1 1 1 3 1 1 1 3 1 1 1 | back 4"},
    {"a formula ends after 127 characters",
     "1 x 1000000000 30 7 1000000003 4 1000000005 6 1000000007 8 1000000009 1 2 1000000012",
     "TDRebo( %s, 1, -2147483648.0000000000, 1000000000, 30, 7, 1000000003, 4, 1000000005, 6, 1000000007, 8, "
     "1000000009, 1, 2, 100000 | in 0O 0H 0L 0C | out high:1 low:1 | par 1 -2147483648.0000000000 1000000000 30 7"
     " 1000000003 4 1000000005 6 1000000007 8 1000000009 1 2 1000000012 | back 1000000014"},
};

using Bars = std::vector<std::vector<double>>;

const Bars rise = {{9, 12, 10, 11}, {9, 13, 11, 12}, {9, 14, 12, 13}, {9, 15, 13, 14}};
const Bars uneven = {{5, 10, 6, 50}, {5, 14, 8, 50}, {5, 12, 11, 50}, {5, 99, 0, 50}};

const RunCase runs[] = {
    {"levels from the bar before", "1", {{9, 12, 10, 11}, {9, 13, 11, 12}}, {0.618 * 2.0 + 11.0, 11.0 - 0.618 * 2.0}},
    {"the last two bars show levels", "0 2", rise, {16, 8, 17, 9}},
    {"the shortest lag sets which bars do", "0 2 - - - - 2 - 2 - 2 - 2 2", rise, {15, 7, U, U}},
    {"two kinds of base, each over its period", "1 2 20 - - - - - - - - - - 0 2", rise, {16, 6, 17, 6, 18, 7, 19, 8}},
    {"the lag of a base is not its period", "1 2 20 - - - - - - - - - - 2", rise, {16, 6, 17, 7}},
    {"two kinds of range, each way round", "1 1 - - - 20 - 22 - 22 - 20", rise, {13, 9, 14, 10, 15, 11}},
    {"a range of oldest bars, taken a bar early", "1 1 - 2 1 - 2 - 2 - 2 - 2", uneven, {58, 42, 58, 42}},
    {"without a lag it can't be early", "1 1 - 3 1 - 0 - 0 - 0 - 0", uneven, {58, 42, 149, -49}},
    {"a range of one bar needs no method", "1 1 - 1 9", rise, {13, 9, 14, 10, 15, 11}},
    {"ranges are summed from the oldest bar on",
     "1 1 - 2 0 - 0 - 0 - 0 - 0 0",
     {{9, 1e16, 1e16, 0}, {9, 1, 0, 0}},
     {0.5, -0.5}},
    {"each high added before its low is taken off",
     "1 1 - 2 0 - 0 - 0 - 0 - 0 0",
     {{9, 1, 0, 0}, {9, 1e16, 1e16, 0}},
     {0, 0}},
    {"no root of a range below 0", "1 1 - 1 7 3 1 1", {{9, 14, 10, 11}, {9, 14, 10, 11}}, {7, 9}},
    {"fields repeat one by one",
     "1 1",
     {{U, 12, 10, 11}, {9, 12, 10, 11}, {U, U, U, 12}, {9, 13, 10, U}},
     {13, 9, 14, 10}},
    {"no level without a method", "1 1 - 2 9", rise, {}},
    {"nor without one of its values", "1 1 15", rise, {}},
    {"nor with one range that is the missing value",
     "1 1 - - - - 1 - 1 - 0 - 0 0",
     {{9, 0, -U, 5}, {9, 12, 10, 11}, {9, 12, 10, 11}},
     {13, 9}},
    {"nor with a lag below 0", "1 1 - 1 1 1 -3", rise, {}},
};

TEST(TDReboOp, Cases) { CheckCases("TDREBO", descriptions, runs); }

TEST(TDReboOp, MergesTheBarsOfARange) {
    const double mean = (11.0 / 3 + 7) * 0.5;
    const double ranges[][2] = {{11.0 / 3, 7}, {8, 9}, {-1, 5},      {6, 9},
                                {1, 5},        {4, 5}, {mean, mean}, {std::sqrt(8), 3}};
    for (std::size_t method = 0; method < std::size(ranges); ++method) {
        const auto [up, down] = ranges[method];
        const std::string arguments = "1 1 - 3 " + std::to_string(method) + " - - - - - - 0";
        CheckRun("TDREBO", {"by method", arguments, uneven, {up + 50, 50 - down, up + 50, 50 - down}});
    }
}

// The range of the last three bars before this one, over many bars, some of which have no order.
TEST(TDReboOp, SlidesTheBarsOfARange) {
    for (const bool outer : {true, false}) {
        std::mt19937 random(1);
        OperatorDriver op("TDREBO");
        op.SetArguments(outer ? "1 1 - 3 1" : "1 1 - 3 2");
        op.Reset();
        Bars bars;
        const auto extreme = [&](std::size_t price, bool highest) {
            double found = bars[bars.size() - 3][price];
            for (std::size_t bar = bars.size() - 2; bar < bars.size(); ++bar) {
                if (highest ? bars[bar][price] > found : bars[bar][price] < found) found = bars[bar][price];
            }
            return found;
        };
        for (int step = 0; step < 500; ++step) {
            const auto price = [&] { return random() % 16 ? static_cast<double>(random() % 9) : NAN; };
            const std::vector<double> bar = {5, price(), price(), 50}, out = op.Step(bar);
            if (bars.size() >= 3) {
                const double range = extreme(1, outer) - extreme(2, !outer);
                EXPECT_TRUE(out[0] == 50 + range || (std::isnan(out[0]) && std::isnan(range))) << step;
                EXPECT_TRUE(out[1] == 50 - range || (std::isnan(out[1]) && std::isnan(range))) << step;
            }
            bars.push_back(bar);
        }
    }
}

TEST(TDReboOp, ReachesAheadByTheShortestLag) {
    OperatorDriver op("TDREBO");
    op.SetArguments("- - - - - - 3 - 2 - 4 - 5 6");
    uint first = 0, last = 0, style = 0;
    EXPECT_EQ(op->GetOutputRange(0, 0, &first, &last), S_OK);
    EXPECT_EQ(op.Bars()->GetBarStyle(&style), S_OK);
    EXPECT_EQ(std::vector({first, last, style}), std::vector({2u, 1u, 2u}));
    op.Reset({}, 0, UndefinedParam);
    ExpectSameBits(op.Step(rise[0]), {U, U}, "the bars to show lie below every number");
}

}  // namespace sarvane::test
