#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {

const DescriptionCase descriptions[] = {
    {"one bound parameter binds both", "9 Close",
     "KasePermStoch( %s, 9, -2147483648) | in 0H 0L 0C 1 2 | out integer1:3 integer2:3 | par | back 400"},
    {"constants", "9 5", "KasePermStoch( %s, 9, 5) | in 0H 0L 0C | out integer1:3 integer2:3 | par 9 5 | back 400"},
};

const RunCase runs[] = {
    {"a gap repeats the last value of its field, and ranges span two parameters",
     "2 2",
     {{10, 0, 8}, {12, 4, 5}, {U, 2, U}, {16, 8, 12}, {20, 10, 15}, {20, 10, 20}, {18, 12, 13}, {16, 11, 15}},
     {75.2314814814815, 74.15123456790124, 71.64351851851853, 73.41820987654322}},
    {"a blend takes in what it gave before",
     "1 1",
     {{128, 0, 0}, {128, 0, 128}, {128, 0, 128}, {128, 0, 128}, {128, 0, 128}, {128, 0, 0}},
     {78.125, 63.23302469135803, 80.72916666666667, 69.0650720164609}},
    {"a flat range passes the next value through, and the lines stay on",
     "1 1",
     {{5, 5, 5}, {128, 0, 64}, {128, 0, 64}, {128, 0, 64}, {5, 5, 5}, {5, 5, 5}, {128, 0, 128}},
     {50, 50, 50, 50, 175.0 / 3, 175.0 / 3}},
    {"a factor of 0 gives nothing", "0 1", {{128, 0, 64}, {128, 0, 64}}, {}},
    {"a negative lag gives nothing", "1 -1", {{128, 0, 64}, {128, 0, 64}}, {}},
    {"a span that wraps around below 1 has no range", "65536 65536", {{128, 0, 64}}, {}},
};

TEST(KasePermStochOp, Cases) { CheckCases("KasePermStoch", descriptions, runs); }

}  // namespace sarvane::test
