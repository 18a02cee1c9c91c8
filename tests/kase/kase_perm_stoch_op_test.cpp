#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

const DescriptionCase descriptions[] = {
    {"a new one reads its parameters from curves",
     {},
     "KasePermStoch( %s, -2147483648, -2147483648) | in 0H 0L 0C 1 2 | out integer1:3 integer2:3 | par | back 400"},
    {"one bound parameter binds both",
     {u"9", u"Close"},
     "KasePermStoch( %s, 9, -2147483648) | in 0H 0L 0C 1 2 | out integer1:3 integer2:3 | par | back 400"},
    {"constant parameters",
     {u"9", u"5"},
     "KasePermStoch( %s, 9, 5) | in 0H 0L 0C | out integer1:3 integer2:3 | par 9 5 | back 400"},
};

const RunCase runs[] = {
    {"a gap repeats the last value of its field, and ranges span two parameters",
     {u"2", u"2"},
     {{10, 0, 8}, {12, 4, 5}, {U, 2, U}, {16, 8, 12}, {20, 10, 15}, {20, 10, 20}, {18, 12, 13}, {16, 11, 15}},
     {U, U, U, U, U, U, U, U, U, U, U, U, 75.2314814814815, 74.15123456790124, 71.64351851851853, 73.41820987654322}},
    {"a blend takes in what it gave before",
     {u"1", u"1"},
     {{128, 0, 0}, {128, 0, 128}, {128, 0, 128}, {128, 0, 128}, {128, 0, 128}, {128, 0, 0}},
     {U, U, U, U, U, U, U, U, 78.125, 63.23302469135803, 80.72916666666667, 69.0650720164609}},
    {"a flat range passes the next value through, and the lines stay on",
     {u"1", u"1"},
     {{5, 5, 5}, {128, 0, 64}, {128, 0, 64}, {128, 0, 64}, {5, 5, 5}, {5, 5, 5}, {128, 0, 128}},
     {U, U, U, U, U, U, U, U, 50, 50, 50, 50, 175.0 / 3, 175.0 / 3}},
    {"a factor of 0 gives nothing", {u"0", u"1"}, {{128, 0, 64}, {128, 0, 64}}, {U, U, U, U}},
    {"a negative lag gives nothing", {u"1", u"-1"}, {{128, 0, 64}, {128, 0, 64}}, {U, U, U, U}},
    {"a span that wraps around below 1 has no range", {u"65536", u"65536"}, {{128, 0, 64}}, {U, U}},
};

TEST(KasePermStochOp, Describes) {
    for (const DescriptionCase& expected : descriptions) CheckDescription("KasePermStoch", expected);
}

TEST(KasePermStochOp, Runs) {
    for (const RunCase& run : runs) CheckRun("KasePermStoch", run);
}

}  // namespace
}  // namespace sarvane::test
