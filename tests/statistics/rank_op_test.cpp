#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

const DescriptionCase descriptions[] = {
    {"constants", {u"9", u"3", u"1", u"0", u"4"}, "Rank( %s, 3) | in 0 | out percent:3 | par 3 1 0 4 | back 3"},
    {"one unset", {u"", u"3", u"1", u"0"}, "Rank( %s, 3) | in 0 1 2 3 4 | out percent:3 | par | back 3"},
};

const RunCase runs[] = {
    {"higher values beat", {u"", u"3", u"1", u"0", u"0"}, {{5}, {7}, {6}}, {1, 1, 2}},
    {"lower values beat", {u"", u"3", u"0", u"0", u"0"}, {{5}, {7}, {6}}, {1, 2, 2}},
    {"a gap ties with the bar before", {u"", u"3", u"1", u"5", u"0"}, {{U}, {5}, {U}}, {U, 1, 6}},
    {"the oldest leaves the window", {u"", u"3", u"1", u"0", u"0"}, {{9}, {1}, {1}, {2}}, {1, 2, 2, 1}},
    {"an unset parameter gives no rank", {u"", u"3", u"1", u"0"}, {{5, U, 1, 1, 1}}, {U}},
    {"bound parameters are read afresh, and the newest value ties with itself",
     {u"", u"", u"-1", u"9"},
     {{5, U, 2, 1, 1}, {7, U, 2.9, 1, 1}, {6, U, 2, 1, 0.5}, {6, U, 3, U, -0.5}, {6, U, 0, 1, 1}, {6, U, 2, 1, U}},
     {U, 2, 2.5, 0, U, U}},
    {"a bound period reaches no further than the history depth",
     {},
     {{5, U, 1, 1, 0}, {4, U, 2, 1, 0}, {3, U, 2, 1, 0}, {2, U, 3, 1, 0}},
     {1, 2, 2, U},
     u"2"},
};

TEST(RankOp, Describes) {
    for (const DescriptionCase& expected : descriptions) CheckDescription("Ranking", expected);
}

TEST(RankOp, Runs) {
    for (const RunCase& run : runs) CheckRun("Ranking", run);
}

}  // namespace
}  // namespace sarvane::test
