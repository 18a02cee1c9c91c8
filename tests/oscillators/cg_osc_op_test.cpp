#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {

const DescriptionCase descriptions[] = {
    {"a constant period", "5", "CGOsc( %s, 5) | in 0 | out curve1:1 | par 5 | back 5"},
    {"no period below 1", "0", "CGOsc( %s, -2147483648) | in 0 | out curve1:1 | par -2147483648 | back 400"},
};

const RunCase runs[] = {
    {"a gap repeats the last input", "3", {{U}, {1}, {2}, {3}, {U}}, {-10.0 / 6, -15.0 / 8}},
    {"zeros have their centre at 0", "2", {{0}, {0}}, {0}},
    {"values that cancel out have no centre", "2", {{1}, {-1}}, {}},
    {"a weighted sum of 0 gives 0, whatever the plain sum", "2", {{1}, {-2}, {0}, {0}}, {0, -2, 0}},
    {"a window of one value has its centre there", "1", {{7}, {-1e-300}}, {-1, -1}},
    {"without a period there is no output", "", {{7}, {8}}, {}},
};

TEST(CGOscOp, Cases) { CheckCases("CGOscOp", descriptions, runs); }

TEST(CGOscOp, LooksBackOverTheHistoryDepthWithoutAPeriod) {
    OperatorDriver op("CGOscOp");
    op.Set(-1, "50");
    EXPECT_TRUE(op.Description().ends_with("back 50"));
}

}  // namespace sarvane::test
