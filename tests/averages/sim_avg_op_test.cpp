#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

const DescriptionCase descriptions[] = {
    {"a new one reads its period from a curve", {}, "Sim( %s, -2147483648) | in 0 1 | out curve1:1 | par | back 400"},
    {"a constant period", {u"5"}, "Sim( %s, 5) | in 0 | out curve1:1 | par 5 | back 5"},
    {"minBars", {u" 5 ", u"5"}, "Sim( %s, 5, 5) | in 0 | out curve1:1 | par 5 5 | back 5"},
    {"minBars above the period is unset", {u"5", u"6"}, "Sim( %s, 5) | in 0 | out curve1:1 | par 5 | back 5"},
    {"a bound period leaves no room for minBars",
     {u"Close", u"1"},
     "Sim( %s, -2147483648) | in 0 1 | out curve1:1 | par | back 400"},
    {"a period below 1 is bound", {u"0"}, "Sim( %s, -2147483648) | in 0 1 | out curve1:1 | par | back 400"},
};

const RunCase runs[] = {
    {"minBars starts early", {u"3", u"2"}, {{1}, {2}, {3}, {6}}, {U, 1.5, 2, 11.0 / 3}},
    {"a period of 1 follows the input", {u"1"}, {{7}, {1e300}, {2}}, {7, 1e300, 2}},
    {"a gap repeats the last input", {u"2"}, {{U}, {4}, {U}, {6}}, {U, U, 4, 5}},
    {"the seed stands in for a first gap", {u"2"}, {{U}, {4}}, {U, 3}, nullptr, {2}},
    {"a huge value leaves no residue", {u"2"}, {{1e300}, {1}, {2}, {4}}, {U, 5e299, 1.5, 3}},
    {"a bound period is truncated, and bad ones skip the bar",
     {},
     {{1, 1}, {2, 2.9}, {4, 0}, {8, U}, {16, 5}, {32, 7}, {64, -1}},
     {1, 1.5, U, U, 6.2, U, U}},
    {"a bound period reaches no further than the history depth", {}, {{1, 1}, {2, 2}, {4, 3}}, {1, 1.5, U}, u"2"},
    {"a period of no memory ever filled", {u"2147483647", u"2"}, {{1}, {2}, {6}}, {U, 1.5, 3}},
};

TEST(SimAvgOp, Describes) {
    for (const DescriptionCase& expected : descriptions) CheckDescription("Sim", expected);
}

TEST(SimAvgOp, Runs) {
    for (const RunCase& run : runs) CheckRun("Sim", run);
}

}  // namespace
}  // namespace sarvane::test
