#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

const DescriptionCase descriptions[] = {
    {"lengths become ratios",
     {u"12", u"26", u" 9 "},
     "MACDX(%s,0.153846,0.074074,0.200000) | in 0 | out curve1:1 | par 0.153846 0.074074 0.200000 | back 400"},
    {"1 is a ratio, and a text that is no number is 0",
     {u"1", u"-0.5", u"Close"},
     "MACDX(%s,1.000000,-0.500000,0.000000) | in 0 | out curve1:1 | par 1.000000 -0.500000 0.000000 | back 400"},
};

const RunCase runs[] = {
    {"a gap repeats the last input", {u"0.5", u"0.25", u"0.5"}, {{U}, {8}, {16}, {U}, {16}}, {U, 8, 8, 10, 13.5}},
    {"the seed stands in for a first gap", {u"0.5", u"0.25", u"0.5"}, {{U}, {16}}, {8, 8}, nullptr, {8}},
    {"averages of one ratio never cross", {u"3", u"0.5", u"9"}, {{8}, {16}}, {U, U}},
};

TEST(MACDXOp, Describes) {
    for (const DescriptionCase& expected : descriptions) CheckDescription("MACDXOp", expected);
}

TEST(MACDXOp, Runs) {
    for (const RunCase& run : runs) CheckRun("MACDXOp", run);
}

TEST(MACDXOp, TakesTheDepthInThePlaceOfItsCurve) {
    OperatorDriver op("MACDXOp");
    op.Set(-1, u"5");
    op.Set(0, u"77.9");
    EXPECT_TRUE(op.Description().ends_with("back 77"));
}

}  // namespace
}  // namespace sarvane::test
