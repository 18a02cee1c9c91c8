#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {

const DescriptionCase descriptions[] = {
    {"all bound", "", "AMA( %s) | in 0 1 2 3 | out curve1:1 | par | back 400"},
    {"constants", "9 2 30", "AMA( %s, 9, 2, 30) | in 0 | out curve1:1 | par 9 2 30 | back 400"},
    {"one unset", "9 x 30", " | in 0 1 2 3 | out curve1:1 | par | back 400"},
    {"0 binds, but shows", "9 0 -1", "AMA( %s, 9, 0, -1) | in 0 1 2 3 | out curve1:1 | par | back 400"},
};

// Fast and slow periods of 1 and 3 stand for factors of 1 and 0.5.
const RunCase runs[] = {
    {"efficiencies of 0 and a half", "3 1 3", {{0}, {3}, {2}, {3}, {0}}, {2, 2.25, 0.984375}, "1"},
    {"the seed fills a first gap", "2 1 3", {{U}, {6}, {U}, {4}}, {6, 6, 4}, "1", {4}},
    {"a bound period reaches no further than the history depth",
     "",
     {{0, 1, 1, 3}, {4, 2, 1, 3}, {2, 3, 1, 3}, {8, 2.9, 3, 3}},
     {4, 4, 5},
     "2"},
    {"a bar without period or factor counts for the depth, but its value is not used",
     "",
     {{5, U, 1, 3}, {U, 1, 1, 3}, {6, 1, 1, 3}, {7, 2, -1, 3}, {7, 2, 1, -1}, {U, 2, 1, 3}, {10, 2, 1, 3}},
     {6, U, U, 6, 10},
     "2"},
    {"a missing fast or slow period counts as the number -2147483648",
     "",
     {{1, 1, 1, 3}, {2, 2, U, 3}, {4, 2, 1, U}},
     {1, 4},
     "2"},
    {"values 1e-100 apart do not move the average", "2 1 1", {{0}, {1e-100}, {2e-100}}, {1e-100, 1e-100}, "1"},
    {"only the fast period is bound", "2 0 3", {{1, U, 1, U}, {2, U, 1, U}, {4, U, 3, U}}, {2, 2.5}, "1"},
};

TEST(AdapAvgOp, Cases) { CheckCases("AMAOp", descriptions, runs); }

// Bars that had an output don't count.
TEST(AdapAvgOp, WaitsAgainForARaisedDepth) {
    OperatorDriver op("AMAOp");
    op.Set(-1, "2");
    op.SetArguments("1 1 1");
    op.Reset();
    for (const double expected : {U, 7.0, 7.0}) EXPECT_EQ(op.Step({7})[0], expected);
    op.Set(-1, "4");
    for (const double expected : {U, U, 7.0}) EXPECT_EQ(op.Step({7})[0], expected);
}

}  // namespace sarvane::test
