#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

const DescriptionCase descriptions[] = {
    {"a constant period", {u"5"}, "CGOsc( %s, 5) | in 0 | out curve1:1 | par 5 | back 5"},
    {"no period below 1", {u"0"}, "CGOsc( %s, -2147483648) | in 0 | out curve1:1 | par -2147483648 | back 400"},
};

const RunCase runs[] = {
    {"a gap repeats the last input", {u"3"}, {{U}, {1}, {2}, {3}, {U}}, {U, U, U, -10.0 / 6, -15.0 / 8}},
    {"zeros have their centre at 0", {u"2"}, {{0}, {0}}, {U, 0}},
    {"values that cancel out have no centre", {u"2"}, {{1}, {-1}}, {U, U}},
    {"a weighted sum of 0 comes first", {u"2"}, {{1}, {-2}, {0}, {0}}, {U, 0, -2, 0}},
    {"a window of one value has its centre there", {u"1"}, {{7}, {-1e-300}}, {-1, -1}},
    {"without a period there is no output", {}, {{7}, {8}}, {U, U}},
    {"a period of no memory ever filled", {u"2147483647"}, {{7}, {8}}, {U, U}},
};

TEST(CGOscOp, Describes) {
    for (const DescriptionCase& expected : descriptions) CheckDescription("CGOscOp", expected);
}

TEST(CGOscOp, Runs) {
    for (const RunCase& run : runs) CheckRun("CGOscOp", run);
}

}  // namespace
}  // namespace sarvane::test
