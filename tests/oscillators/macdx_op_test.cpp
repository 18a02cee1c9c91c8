#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {

const DescriptionCase descriptions[] = {
    {"lengths become ratios", "12 26 9",
     "MACDX(%s,0.153846,0.074074,0.200000) | in 0 | out curve1:1 | par 0.153846 0.074074 0.200000 | back 400"},
    {"1 is a ratio, and a text that is no number is 0", "1 -0.5 Close",
     "MACDX(%s,1.000000,-0.500000,0.000000) | in 0 | out curve1:1 | par 1.000000 -0.500000 0.000000 | back 400"},
};

const RunCase runs[] = {
    {"a gap repeats the last input", "0.5 0.25 0.5", {{U}, {8}, {16}, {U}, {16}}, {8, 8, 10, 13.5}},
    {"the seed stands in for a first gap", "0.5 0.25 0.5", {{U}, {16}}, {8, 8}, nullptr, {8}},
    {"averages of one ratio never cross", "3 0.5 9", {{8}, {16}}, {}},
    {"ratios 1e-100 apart are equal", "1e-100 0", {{8}}, {}},
    {"so are they the other way round", "0 1e-100", {{8}}, {}},
    {"ratios further apart are not", "1.1e-100 0", {{8}}, {0}},
    {"nor are they the other way round", "0 1.1e-100", {{8}}, {-0.0}},
};

TEST(MACDXOp, Cases) { CheckCases("MACDXOp", descriptions, runs); }

TEST(MACDXOp, TakesTheDepthInThePlaceOfItsCurve) {
    OperatorDriver op("MACDXOp");
    op.Set(-1, "5");
    op.Set(0, "77.9");
    EXPECT_TRUE(op.Description().ends_with("back 77"));
}

}  // namespace sarvane::test
