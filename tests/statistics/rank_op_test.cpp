#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {

const DescriptionCase descriptions[] = {
    {"constants", "9 3 1 0 4", "Rank( %s, 3) | in 0 | out percent:3 | par 3 1 0 4 | back 3"},
    {"one unset", "- 3 1 0", "Rank( %s, 3) | in 0 1 2 3 4 | out percent:3 | par | back 3"},
};

const RunCase runs[] = {
    {"higher values beat", "- 3 1 0 0", {{5}, {7}, {6}}, {1, 1, 2}},
    {"lower values beat", "- 3 0 0 0", {{5}, {7}, {6}}, {1, 2, 2}},
    {"a gap ties with the bar before", "- 3 1 5 0", {{U}, {5}, {U}}, {1, 6}},
    {"the oldest leaves the window", "- 3 1 0 0", {{9}, {1}, {1}, {2}}, {1, 2, 2, 1}},
    {"an unset parameter gives no rank", "- 3 1 0", {{5, U, 1, 1, 1}}, {}},
    {"bound parameters are read afresh, and the newest value ties with itself",
     "- - -1 9",
     {{5, U, 2, 1, 1}, {7, U, 2.9, 1, 1}, {6, U, 2, 1, 0.5}, {6, U, 3, U, -0.5}, {6, U, 0, 1, 1}, {6, U, 2, 1, U}},
     {2, 2.5, 0, U, U}},
    {"a bound period is held to the depth",
     "",
     {{5, U, 1, 1, 0}, {4, U, 2, 1, 0}, {3, U, 2, 1, 0}, {2, U, 3, 1, 0}},
     {1, 2, 2, U},
     "2"},
};

TEST(RankOp, Cases) { CheckCases("Ranking", descriptions, runs); }

}  // namespace sarvane::test
