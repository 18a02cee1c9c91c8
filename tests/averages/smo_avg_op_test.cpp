#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

const DescriptionCase descriptions[] = {
    {"a constant period", {u"14"}, "Smo( %s, 14) | in 0 | out curve1:1 | par 14 | back 194"},
    {"a period below 1 is bound", {u"0"}, "Smo( %s, -2147483648) | in 0 1 | out curve1:1 | par | back 400"},
    {"the lookback is held",
     {u"2147483647"},
     "Smo( %s, 2147483647) | in 0 | out curve1:1 | par 2147483647 | back 10000"},
};

const RunCase runs[] = {
    {"starts as the mean, then goes a part of the way", {u"4"}, {{1}, {2}, {3}, {2}, {6}}, {U, U, U, 2, 3}},
    {"a period of 1 follows the input, rounded", {u"1"}, {{1234567}, {2}}, {1234570, 2}},
    {"the output is rounded, the average is not", {u"2"}, {{1234566}, {1234568}, {1}}, {U, 1234570, 617284}},
    {"a gap repeats the last input", {u"2"}, {{U}, {4}, {U}, {0}}, {U, U, 4, 2}},
    {"the seed stands in for a first gap", {u"2"}, {{U}, {4}}, {U, 3}, nullptr, {2}},
    {"nothing is rounded with a bound period", {}, {{1234566, 2}, {1234568, 2.9}, {1, 2}}, {U, 1234567, 617284}},
    {"the start waits for a period that the bars can fill", {}, {{1, 2}, {2, 4}, {4, 2}, {0, 3}}, {U, U, 3, 2}},
    {"a bad period gives nothing, and the input counts",
     {},
     {{2, U}, {6, 2}, {0, 0}, {U, -1}, {U, 2}, {2, 2}},
     {U, 4, U, U, 2, 2}},
    {"the start reaches no further than the history depth", {}, {{1, 3}, {2, 3}, {4, 3}, {6, 2}}, {U, U, U, 5}, u"2"},
    {"no depth, no start", {}, {{1, 1}, {2, 1}}, {U, U}, u"-5"},
    {"the newest value goes into the mean first", {}, {{1, 0}, {1, 0}, {1e16, 3}}, {U, U, 1e16 / 3}},
};

TEST(SmoAvgOp, Describes) {
    for (const DescriptionCase& expected : descriptions) CheckDescription("Smo", expected);
}

TEST(SmoAvgOp, Runs) {
    for (const RunCase& run : runs) CheckRun("Smo", run);
}

}  // namespace
}  // namespace sarvane::test
