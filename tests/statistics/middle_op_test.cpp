#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

const DescriptionCase descriptions[] = {
    {"a bound period", {u"0", u"2"}, "Middle( %s, -2147483648) | in 0 1 | out curve1:1 | par -2147483648 | back 400"},
    {"constants", {u"5", u"2"}, "Middle( %s, 5) | in 0 | out curve1:1 | par 5 2 | back 5"},
};

const RunCase runs[] = {
    {"the median starts early, and a gap repeats", {u"3"}, {{U}, {5}, {1}, {3}, {9}, {U}}, {U, 5, 3, 3, 3, 9}},
    {"a place from the top waits for as many", {u"4", u"2"}, {{8}, {4}, {6}, {1}, {2}}, {U, 4, 6, 6, 4}},
    {"no place above the top", {u"3", u"0"}, {{8}, {4}}, {U, U}},
    {"an equal value goes below those before it", {u"2", u"1"}, {{0.0}, {-0.0}, {0.0}}, {0.0, 0.0, -0.0}},
    {"a bound period takes the oldest values of the history",
     {},
     {{5, 1}, {1, 2.9}, {9, 2}, {3, 7}, {4, U}, {2, 0}},
     {5, 3, 3, 3, U, U},
     u"3"},
    {"a period of no memory ever filled", {u"2147483647"}, {{1}, {3}}, {1, 2}},
};

TEST(MiddleOp, Describes) {
    for (const DescriptionCase& expected : descriptions) CheckDescription("Middle", expected);
}

TEST(MiddleOp, Runs) {
    for (const RunCase& run : runs) CheckRun("Middle", run);
}

}  // namespace
}  // namespace sarvane::test
