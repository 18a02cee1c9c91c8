#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {

const DescriptionCase descriptions[] = {
    {"a bound period", "0 2", "Middle( %s, -2147483648) | in 0 1 | out curve1:1 | par -2147483648 | back 400"},
    {"constants", "5 2", "Middle( %s, 5) | in 0 | out curve1:1 | par 5 2 | back 5"},
};

const RunCase runs[] = {
    {"the median starts early, and a gap repeats", "3", {{U}, {5}, {1}, {3}, {9}, {U}}, {5, 3, 3, 3, 9}},
    {"a place from the top waits for as many", "4 2", {{8}, {4}, {6}, {1}, {2}}, {4, 6, 6, 4}},
    {"no place above the top", "3 0", {{8}, {4}}, {}},
    {"an equal value goes below those before it", "2 1", {{0.0}, {-0.0}, {0.0}}, {0.0, 0.0, -0.0}},
    {"a bound period takes the oldest values",
     "",
     {{5, 1}, {1, 2.9}, {9, 2}, {3, 7}, {4, U}, {2, 0}},
     {5, 3, 3, 3, U, U},
     "3"},
};

TEST(MiddleOp, Cases) { CheckCases("Middle", descriptions, runs); }

}  // namespace sarvane::test
