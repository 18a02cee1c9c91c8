#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {

const DescriptionCase descriptions[] = {
    {"the longest lag counts for the history", "2 7 4 5 3 2",
     "DemOp( %s, 2, 7, 4, 5, 3, 2) | in 0O 0H 0L 0C | out percent:3 | par 2 7 4 5 3 2 | back 10"},
    {"a length below 1 is unset", "- - - - 0",
     "DemOp( %s, 1, 1, 3, 1, -2147483648, 1) | in 0O 0H 0L 0C 1 | out percent:3 | par 1 1 3 1 -2147483648 | back 400"},
};

const RunCase runs[] = {
    {"nothing is known before the first parameter", "", {{9, 10, 9, 9}, {9, 11, 10, 9}}, {}},
    {"averages fill from the first bar on",
     "1",
     {{9, 10, 9, 9}, {9, 11, 10, 9}, {9, 12, 10, 9}, {9, 11, 9, 9}},
     {0.5 * 100.0 / 0.75}},
    {"nothing moves before both lags are reached", "1 2 3 1 1", {{9, 10, 9, 9}, {9, 12, 8, 9}, {9, 13, 7, 9}}, {75}},
    {"against closes, the first one alone", "1 1 3 1 1 2", {{9, 10, 8, 9}, {9, 11, 9, 10}}, {50, 75}},
    {"against closes with two lags",
     "1 2 3 1 1 2",
     {{9, 10, 8, 9}, {9, 11, 9, 10}, {9, 14, 9, 13}, {9, 14, 4, 13}},
     {50, 50, 9.0 * 100.0 / 11, 13.0 * 100.0 / 23}},
    {"fields repeat one by one",
     "- - - - 3",
     {{9, 10, U, 9}, {9, 10, 9, 9}, {U, 11, 8, 9}, {U, U, 7, U}},
     {1.0 / 3 * 100.0}},
    {"the seed stands in for first gaps", "- - - - 1", {{U, 5, U, U}, {U, 6, U, U}}, {100}, nullptr, {4, 4, 4, 4}},
    {"a bar without a value", "15 1 3 1 1", {{9, 10, 9, 9}, {9, 11, 9, 9}}, {}},
    {"a lag below 0 reaches no bar", "1 1 3 -1 1 2", {{9, 10, 8, 9}, {9, 11, 9, 9}}, {}},
};

TEST(DeMOp, Cases) { CheckCases("DeMOp", descriptions, runs); }

}  // namespace sarvane::test
