#include "support/operator_driver.h"

#include <gtest/gtest.h>
#include <tuple>

namespace sarvane::test {

const DescriptionCase descriptions[] = {
    {"a constant period", "14", "Smo( %s, 14) | in 0 | out curve1:1 | par 14 | back 194"},
    {"a period below 1 is bound", "0", "Smo( %s, -2147483648) | in 0 1 | out curve1:1 | par | back 400"},
    {"the lookback is 10000 at most", "2147483647",
     "Smo( %s, 2147483647) | in 0 | out curve1:1 | par 2147483647 | back 10000"},
};

const RunCase runs[] = {
    {"starts as the mean, then goes a part of the way", "4", {{1}, {2}, {3}, {2}, {6}}, {2, 3}},
    {"the output is rounded, the average is not", "2", {{1234566}, {1234568}, {1}}, {1234570, 617284}},
    {"a gap repeats the last input", "2", {{U}, {4}, {U}, {0}}, {4, 2}},
    {"the seed stands in for a first gap", "2", {{U}, {4}}, {3}, nullptr, {2}},
    {"nothing is rounded with a bound period", "", {{1234566, 2}, {1234568, 2.9}, {1, 2}}, {1234567, 617284}},
    {"a bound period of 1 follows the input", "", {{5, 1}, {7, 1.9}}, {5, 7}},
    {"the average starts once there are as many values as the period of the bar",
     "",
     {{1, 2}, {2, 4}, {4, 2}, {0, 3}},
     {3, 2}},
    {"bars without a good period have no output, but their inputs count",
     "",
     {{2, U}, {6, 2}, {0, 0}, {U, -1}, {U, 2}, {2, 2}},
     {4, U, U, 2, 2}},
    {"the starting mean takes no more values than the history depth", "", {{1, 3}, {2, 3}, {4, 3}, {6, 2}}, {5}, "2"},
    {"with a depth below 1 the average never starts", "", {{1, 1}, {2, 1}}, {}, "-5"},
    {"the starting mean is added up from the newest value on", "", {{1, 0}, {1, 0}, {1e16, 3}}, {1e16 / 3}},
};

TEST(SmoAvgOp, Cases) { CheckCases("Smo", descriptions, runs); }

TEST(SmoAvgOp, RoundsToAndLooksBackForFourToFifteenDigits) {
    const std::tuple<const char*, double, uint> cases[] = {{"3", 123500, 129},
                                                           {"4", 123500, 129},
                                                           {"5", 123460, 162},
                                                           {"15", 123456.789012346, 484},
                                                           {"99", 123456.789012346, 484}};
    for (const auto& [digits, rounded, lookback] : cases) {
        OperatorDriver op("Smo");
        op.Set(-2, digits);
        op.Set(1, "14");
        op.Reset();
        for (int bar = 1; bar < 14; ++bar) op.Step({123456.7890123456});
        ExpectSameBits(op.Step({123456.7890123456}), {rounded}, digits);
        uint bars = 0;
        op->GetLookback(&bars, nullptr);
        EXPECT_EQ(bars, lookback) << digits;
    }
}

}  // namespace sarvane::test
