#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

const DescriptionCase descriptions[] = {
    {"constants", {u"9", u"2", u"30"}, "AMA( %s, 9, 2, 30) | in 0 | out curve1:1 | par 9 2 30 | back 400"},
    {"all bound", {}, "AMA( %s) | in 0 1 2 3 | out curve1:1 | par | back 400"},
    {"one unset", {u"9", u"x", u"30"}, " | in 0 1 2 3 | out curve1:1 | par | back 400"},
    {"0 binds, but shows", {u"9", u"0", u"-1"}, "AMA( %s, 9, 0, -1) | in 0 1 2 3 | out curve1:1 | par | back 400"},
};

// Fast and slow periods of 1 and 3 stand for factors of 1 and 0.5.
const RunCase runs[] = {
    {"a straight move follows at the fast factor", {u"2", u"1", u"3"}, {{1}, {2}, {4}, {4}}, {U, 2, 4, 4}, u"1"},
    {"the factor falls with the efficiency, 0 and then a half",
     {u"3", u"1", u"3"},
     {{0}, {3}, {2}, {3}, {0}},
     {U, U, 2, 2.25, 0.984375},
     u"1"},
    {"the seed fills a first gap", {u"2", u"1", u"3"}, {{U}, {6}, {U}, {4}}, {U, 6, 6, 4}, u"1", {4}},
    {"a bound period starts at once and reaches no further than the history depth",
     {},
     {{0, 1, 1, 3}, {4, 2, 1, 3}, {2, 3, 1, 3}, {8, 2.9, 3, 3}},
     {U, 4, 4, 5},
     u"2"},
    {"a bar without period or factor counts, but its value is lost",
     {},
     {{5, U, 1, 3}, {U, 1, 1, 3}, {6, 1, 1, 3}, {7, 2, -1, 3}, {7, 2, 1, -1}, {U, 2, 1, 3}, {10, 2, 1, 3}},
     {U, U, 6, U, U, 6, 10},
     u"2"},
    {"a missing fast period is a number", {}, {{1, 1, 1, 3}, {2, 2, U, 3}, {4, 2, 1, U}}, {U, 1, 4}, u"2"},
    {"a bound fast period leaves the period constant",
     {u"2", u"0", u"3"},
     {{1, U, 1, U}, {2, U, 1, U}, {4, U, 3, U}},
     {U, 2, 2.5},
     u"1"},
};

TEST(AdapAvgOp, Runs) {
    for (const DescriptionCase& expected : descriptions) CheckDescription("AMAOp", expected);
    for (const RunCase& run : runs) CheckRun("AMAOp", run);
}

}  // namespace
}  // namespace sarvane::test
