#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {

const DescriptionCase descriptions[] = {
    {"constants", "7 2 x",
     "Sample(%s, %s, 2, -2147483648, 1) | in 0 1 | out curve1:1 | par 2 -2147483648 1 | back 400"}};

const RunCase runs[] = {
    {"holds what the last firing passed", "", {{1, 0}, {2, 1}, {3, 0}, {4, -1}}, {2, 2, 2}},
    {"or nothing", "- - - 0", {{1, 0}, {2, 1}, {3, 0}}, {2, U}},
    {"a firing lasts", "- 2", {{1, 0}, {2, 1}, {3, 0}, {4, 0}}, {2, 3, 3}},
    {"and another one starts the count again", "- 2", {{1, 1}, {2, 1}, {3, 0}, {4, 0}}, {1, 2, 3, 3}},
    {"a rising trigger", "- 1 1", {{1, 1}, {2, 2}, {3, 2}, {4, 3}, {5, -2}, {6, -1}, {7, 0}}, {2, 2, 4, 4, 4, 7}},
    {"a trigger to rise above may stand beside a gap", "- 1 1", {{1, 1}, {U, 5}, {3, 4}, {4, U}, {5, 6}}, {}},
    {"a missing value stops the clock", "- 2", {{1, 1}, {U, 1}, {3, 0}, {4, 0}}, {1, U, 3, 3}},
    {"no such mode", "- 1 2", {{1, 0}, {2, 1}}, {}},
    {"an unset length passes firings alone", "- x", {{1, 1}, {2, 0}, {3, 1}, {4, 1}}, {1, 1, 3, 4}},
};

TEST(SampleOp, Cases) { CheckCases("Samp", descriptions, runs); }

}  // namespace sarvane::test
