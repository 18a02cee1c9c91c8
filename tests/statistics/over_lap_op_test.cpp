#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

const DescriptionCase descriptions[] = {
    {"a new one counts as told by a curve",
     {},
     "OverlapCntOp( %s, -2147483648, 0) | in 0H 0L 0C 2 | out integer1:3 | par -2147483648 -2147483648 | back 400"},
    {"all set", {u"0", u"3", u"1"}, "OverlapCntOp( %s, 0, 1 3) | in 0H 0L 0C | out integer1:3 | par 0 3 1 | back 3"},
};

const RunCase runs[] = {
    {"ranges that touch overlap", {u"0", u"3"}, {{10, 8, 9}, {12, 9, 9}, {11, 10, 10}, {20, 15, 15}}, {U, U, 3, 1}},
    {"older bars need not overlap each other",
     {u"0", u"4", u"2"},
     {{6, 5, 5}, {2, 1, 1}, {6, 5, 5}, {6, 1, 3}},
     {U, U, U, 4}},
    {"mutual: the newest bar doesn't count, the first that fails does",
     {u"0", u"5", u"1"},
     {{3, 2, 2}, {6, 5, 5}, {3, 1, 1}, {6, 2, 5}, {6, 1, 3}, {7, 6, 6}},
     {U, U, U, U, 3, 3}},
    {"a range that reaches to the close before closes a gap",
     {u"", u"2"},
     {{10, 9, 10}, {10, 9, 10}, {13, 12, 12}, {9, 8, 8}},
     {U, U, 2, 2}},
    {"gaps repeat field by field", {u"0", u"2"}, {{10, 8, U}, {10, 8, 9}, {20, 15, U}, {U, 11, 11}}, {U, U, 1, 2}},
    {"the seed stands in", {u"0", u"1"}, {{10, U, U}}, {1}, nullptr, {1, 2, 3}},
    {"a bound count is truncated and reaches no further than the history depth",
     {u"0"},
     {{2, 1, 1, 2}, {2, 1, 1, 2.9}, {2, 1, 1, U}, {2, 1, 1, 4}, {2, 1, 1, 3}, {2, 1, 1, -7}},
     {U, 2, U, U, 3, 1},
     u"3"},
    {"a bound count below 1 needs no close before", {}, {{2, 1, 1, 0}}, {1}},
    {"nor any bar at all", {}, {{2, 1, 1, -1}}, {1}, u"-5"},
    {"a period below 1 gives nothing", {u"0", u"0"}, {{2, 1, 1}, {2, 1, 1}}, {U, U}},
};

TEST(OverLapOp, Describes) {
    for (const DescriptionCase& expected : descriptions) CheckDescription("OverlapCntOp", expected);
}

TEST(OverLapOp, Runs) {
    for (const RunCase& run : runs) CheckRun("OverlapCntOp", run);
}

}  // namespace
}  // namespace sarvane::test
