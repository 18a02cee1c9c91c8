#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {

const DescriptionCase descriptions[] = {
    {"a new one reads its period from a curve", "", "Sim( %s, -2147483648) | in 0 1 | out curve1:1 | par | back 400"},
    {"a constant period", "5", "Sim( %s, 5) | in 0 | out curve1:1 | par 5 | back 5"},
    {"minBars", "5 5", "Sim( %s, 5, 5) | in 0 | out curve1:1 | par 5 5 | back 5"},
    {"minBars above the period is unset", "5 6", "Sim( %s, 5) | in 0 | out curve1:1 | par 5 | back 5"},
    {"no minBars without a period", "0 1", "Sim( %s, -2147483648) | in 0 1 | out curve1:1 | par | back 400"},
};

const RunCase runs[] = {
    {"minBars starts early", "3 2", {{1}, {2}, {3}, {6}}, {1.5, 2, 11.0 / 3}},
    {"a gap repeats the last input", "2", {{U}, {4}, {U}, {6}}, {4, 5}},
    {"the seed stands in for a first gap", "2", {{U}, {4}}, {3}, nullptr, {2}},
    {"a huge value leaves no residue", "2", {{1e300}, {1}, {2}, {4}}, {5e299, 1.5, 3}},
    {"bound, with bad periods", "", {{1, 1}, {2, 2.9}, {4, 0}, {8, U}, {16, 5}, {32, 7}}, {1, 1.5, U, U, 6.2, U}},
    {"a bound period reaches no further than the history depth", "", {{1, 1}, {2, 2}, {4, 3}}, {1, 1.5, U}, "2"},
};

TEST(SimAvgOp, Cases) { CheckCases("Sim", descriptions, runs); }

}  // namespace sarvane::test
