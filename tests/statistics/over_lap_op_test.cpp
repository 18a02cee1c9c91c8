#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {

const DescriptionCase descriptions[] = {
    {"a new one counts as told by a curve", "",
     "OverlapCntOp( %s, -2147483648, 0) | in 0H 0L 0C 2 | out integer1:3 | par -2147483648 -2147483648 | back 400"},
    {"all set", "0 3 1", "OverlapCntOp( %s, 0, 1 3) | in 0H 0L 0C | out integer1:3 | par 0 3 1 | back 3"},
};

const RunCase runs[] = {
    {"ranges that touch overlap", "0 3", {{10, 8, 9}, {12, 9, 9}, {11, 10, 10}, {20, 15, 15}}, {3, 1}},
    {"from above, too", "0 2", {{13, 11, 12}, {11, 10, 10}, {10, 9, 9}}, {2, 2}},
    {"mutual ranges may touch, from below and from above",
     "0 3 1",
     {{7, 6, 6}, {8, 7, 7}, {9, 5, 5}, {8, 7, 7}, {7, 6, 6}, {9, 5, 5}},
     {3, 3, 3, 3}},
    {"older bars need not overlap each other", "0 4 2", {{6, 5, 5}, {2, 1, 1}, {6, 5, 5}, {6, 1, 3}}, {4}},
    {"mutual: the newest bar doesn't count, the first that fails does",
     "0 5 1",
     {{3, 2, 2}, {6, 5, 5}, {3, 1, 1}, {6, 2, 5}, {6, 1, 3}, {7, 6, 6}},
     {3, 3}},
    {"ranges reach to the close before", "- 2", {{10, 9, 12.5}, {10, 9, 10}, {13, 12, 12}, {9, 8, 8}}, {2, 2}},
    {"gaps repeat field by field", "0 2", {{10, 8, U}, {10, 8, 9}, {20, 15, U}, {U, 11, 11}}, {1, 2}},
    {"the seed stands in", "0 1", {{10, U, U}}, {1}, nullptr, {1, 2, 3}},
    {"a bound count is truncated and reaches no further than the history depth",
     "0",
     {{2, 1, 1, 2}, {2, 1, 1, 2.9}, {2, 1, 1, U}, {2, 1, 1, 4}, {2, 1, 1, 3}, {2, 1, 1, -7}},
     {2, U, U, 3, 1},
     "3"},
    {"a bound count below 1 needs no close before", "", {{2, 1, 1, 0}}, {1}},
    {"nor any bar at all", "", {{2, 1, 1, -1}}, {1}, "-5"},
    {"a period below 1 gives nothing", "0 0", {{2, 1, 1}, {2, 1, 1}}, {}},
};

TEST(OverLapOp, Cases) { CheckCases("OverlapCntOp", descriptions, runs); }

}  // namespace sarvane::test
