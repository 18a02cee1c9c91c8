#include "support/operator_driver.h"

#include <cmath>
#include <gtest/gtest.h>
#include <tuple>

namespace sarvane::test {

const DescriptionCase descriptions[] = {
    {"a constant", "10", "Exp(%s, 10.000) | in 0 | out curve1:1 | par        10.0000000000 | back 70"},
    {"a curve", "Close", "Exp(%s, -2147483648) | in 0 1 | out curve1:1 | par | back 400"},
};

// Keyword, smoothing, digits, lookback.
const std::tuple<std::string_view, const char*, const char*, uint> lookbacks[] = {
    {"Exp", "0.5", "3", 14},      {"Exp", "10", "99", 173},      {"Exp", "10", "x", 47},
    {"Exp", "1e-20", "6", 10000}, {"Exp", "1e-100", "6", 400},   {"Exp", "-5", "6", 0},
    {"Exp", "nan", "6", 0},       {"TriAvg", "10", "6", 210},    {"TriAvg", "500", "6", 10000},
    {"TriAvg", "-0.1", "6", 0},   {"TriAvg", "x", "6", 400},     {"ExHull", "10", "6", 105},
    {"ExHull", "0.5", "6", 70},   {"ExHull", "1e9", "6", 20000}, {"ExHull", "1.5e-100", "6", 400},
    {"ExHull", "-5", "6", 400},
};

const RunCase expRuns[] = {
    {"the output is rounded, the average is not", "3", {{1234567}, {1}}, {1234570, 617284}},
    {"a gap repeats the last input", "3", {{U}, {4}, {U}, {0}, {U}}, {4, 4, 2, 1}},
    {"the seed is a previous input, but not an average to start from", "3", {{4}, {U}}, {4, 4}, nullptr, {8}},
    {"the seed stands in for a first gap", "3", {{U}, {4}}, {8, 6}, nullptr, {8}},
    {"a smoothing above 1 is a length", "1.5", {{0}, {10}}, {0, 8}},
    {"a smoothing below 1e-9 gives nothing", "9e-10", {{1}, {2}}, {}},
    {"a bar without a good smoothing has no output and leaves the average",
     "",
     {{8, 3}, {9, U}, {9, std::nan("")}, {U, 3}, {4, 1}},
     {8, U, U, 8, 4}},
    {"an average that is exactly the undefined value starts again",
     "3",
     {{0}, {-4294967296}, {2}},
     {0, -2147480000, 2}},
};

const RunCase triRuns[] = {
    {"each stage averages the one before", "3", {{8}, {0}, {U}}, {8, 7, 5.5}},
    {"the seed reaches the last stage", "3", {{U}, {0}}, {8, 7}, nullptr, {8}},
    {"without a good smoothing no stage moves", "", {{8, 3}, {0, 0}, {0, 0.5}}, {8, U, 7}},
};

const RunCase hullRuns[] = {
    {"a ratio, half of it and its root", "0.25", {{8}, {0}, {0}}, {8, 8, 7.875}},
    {"a length, half of it and its root", "9", {{8}, {0}}, {8, 5.89091}},
    {"the seed stands in for a first gap", "1", {{U}, {0}, {0}}, {8, 8, 4}, nullptr, {8}},
    {"the first stage moves even if half the smoothing is too small for the second",
     "",
     {{8, 1.5e-9}, {0, 0.25}},
     {-6}},
    {"a negative value gives nothing", "", {{8, 1}, {0, -1}, {0, 1}}, {8, U, 8}},
};

TEST(ExpAvgOp, Cases) {
    CheckCases("Exp", descriptions, expRuns);
    CheckCases("TriAvg", {}, triRuns);
    CheckCases("ExHull", {}, hullRuns);
}

TEST(ExpAvgOp, LooksBackUntilItHasSettled) {
    for (const auto& [keyword, smoothing, digits, expected] : lookbacks) {
        OperatorDriver op(keyword);
        op.Set(-2, digits);
        op.Set(1, smoothing);
        uint bars = 12345;
        op->GetLookback(&bars, nullptr);
        EXPECT_EQ(bars, expected) << op.Description();
    }
}

TEST(ExpAvgOp, FollowsItsInputUntilReset) {
    OperatorDriver op("TriAvg");
    op.Set(1, "3");
    for (const double value : {1.0, 4.0}) ExpectSameBits(op.Step({value}), {value}, "new");
}

}  // namespace sarvane::test
