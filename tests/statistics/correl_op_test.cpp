#include "support/operator_driver.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace sarvane::test {
namespace {

const RunCase runs[] = {
    {"a share of 0.8", "- 4", {{1, 7}, {1, 1}, {-1, -1}, {-1, -7}}, {80}},
    {"deviations of 2^-166 are enough", "- 2", {{0x1p-166, 0x1p-166}, {-0x1p-166, -0x1p-166}}, {100}},
    {"less than 1e-100 is flat", "- 2", {{0x1p-166, 0x1p-167}, {-0x1p-166, -0x1p-167}}, {}},
    {"rounding below zero is flat", "- 3", {{3.2, 1}, {3.2, 2}, {3.2, 4}}, {}},
    {"a variance of -2^-10 is rounding, too", "- 3", {{2421583.3, 1}, {2421583.3, 2}, {2421583.3, 4}}, {}},
    {"a gap repeats the pair", "- 4", {{U, 5}, {1, 2}, {U, 9}, {3, 4}, {8, U}}, {100}},
    {"the seed is a pair", "- 2", {{U, 9}, {3, 4}}, {100}, nullptr, {1, 2}},
    {"half a seed is none", "- 2", {{U, U}, {3, 4}}, {}, nullptr, {1, U}},
    {"bound, one bar below the depth", "", {{1, 2, 2}, {3, 4, 2.9}, {5, 0, 2}, {7, 9, 3}}, {100, -100, U}, "3"},
};

TEST(CorrelOp, Cases) { CheckCases("Correl", {}, runs); }

TEST(CorrelOp, ForgetsThePeriodWithAnyOtherArgument) {
    OperatorDriver op("Correl");
    op.Set(2, "5");
    EXPECT_EQ(op.Description(), "Correl( %s, %s, 5) | in 0 1 | out curve1:3 | par 5 | back 5");
    op.Set(-1, "7");
    EXPECT_EQ(op.Description(), "Correl( %s, %s, -2147483648) | in 0 1 2 | out curve1:3 | par | back 7");
}

TEST(CorrelOp, ShowsLostDigitsAsNaN) {
    constexpr double Flat = 3100001.2;  // over three bars its variance comes out as -2^-9
    OperatorDriver op("Correl");
    op.Step({Flat, 1, 1});
    op.Step({Flat, 2, 1});
    EXPECT_TRUE(std::isnan(op.Step({Flat, 4, 3})[0]));
}

// Sums of small whole numbers are exact, so the running sums of a constant period equal the fresh ones of a bound
// period.
TEST(CorrelOp, BothFormsAgree) {
    OperatorDriver constant("Correl"), bound("Correl");
    constant.Set(2, "5");
    std::mt19937 random(1);
    const auto next = [&] { return random() % 8 == 0 ? U : static_cast<double>(random() % 100); };
    for (int bar = 0; bar < 500; ++bar) {
        const double a = next(), b = next();
        ExpectSameBits(constant.Step({a, b}), bound.Step({a, b, 5}), "bar " + std::to_string(bar));
    }
}

}  // namespace
}  // namespace sarvane::test
