#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

const DescriptionCase descriptions[] = {
    {"the longest lag counts for the history",
     {u"2", u"7", u"4", u"5", u"3", u"2"},
     "DemOp( %s, 2, 7, 4, 5, 3, 2) | in 0O 0H 0L 0C | out percent:3 | par 2 7 4 5 3 2 | back 10"},
    {"a length below 1 is unset",
     {u"", u"", u"", u"", u"0"},
     "DemOp( %s, 1, 1, 3, 1, -2147483648, 1) | in 0O 0H 0L 0C 1 | out percent:3 | par 1 1 3 1 -2147483648 | back 400"},
};

const RunCase runs[] = {
    {"nothing is known before the first parameter", {}, {{9, 10, 9, 9}, {9, 11, 10, 9}}, {U, U}},
    {"a rise is all upward", {u"1", u"1", u"3", u"1", u"1"}, {{9, 10, 9, 9}, {9, 11, 10, 9}}, {U, 100}},
    {"the averages fill from the first bar on",
     {u"1"},
     {{9, 10, 9, 9}, {9, 11, 10, 9}, {9, 12, 10, 9}, {9, 11, 9, 9}},
     {U, U, U, 0.5 * 100.0 / 0.75}},
    {"nothing moves before both lags are reached",
     {u"1", u"2", u"3", u"1", u"1"},
     {{9, 10, 9, 9}, {9, 12, 8, 9}, {9, 13, 7, 9}},
     {U, U, 75}},
    {"against closes, of which the first bar has only its own",
     {u"1", u"1", u"3", u"1", u"1", u"2"},
     {{9, 10, 8, 9}, {9, 11, 9, 10}},
     {50, 75}},
    {"against closes with two lags",
     {u"1", u"2", u"3", u"1", u"1", u"2"},
     {{9, 10, 8, 9}, {9, 11, 9, 10}, {9, 14, 9, 13}, {9, 14, 4, 13}},
     {50, 50, 9.0 * 100.0 / 11, 13.0 * 100.0 / 23}},
    {"fields repeat one by one, and bars before them all are no bars",
     {u"", u"", u"", u"", u"3"},
     {{9, 10, U, 9}, {9, 10, 9, 9}, {U, 11, 8, 9}, {U, U, 7, U}},
     {U, U, U, 1.0 / 3 * 100.0}},
    {"the seed stands in for first gaps",
     {u"", u"", u"", u"", u"1"},
     {{U, 5, U, U}, {U, 6, U, U}},
     {U, 100},
     nullptr,
     {4, 4, 4, 4}},
    {"a bar without a value", {u"15", u"1", u"3", u"1", u"1"}, {{9, 10, 9, 9}, {9, 11, 9, 9}}, {U, U}},
    {"a lag below 0 reaches no bar", {u"1", u"1", u"3", u"-1", u"1", u"2"}, {{9, 10, 8, 9}, {9, 11, 9, 9}}, {U, U}},
};

TEST(DeMOp, Describes) {
    for (const DescriptionCase& expected : descriptions) CheckDescription("DeMOp", expected);
}

TEST(DeMOp, Runs) {
    for (const RunCase& run : runs) CheckRun("DeMOp", run);
}

}  // namespace
}  // namespace sarvane::test
