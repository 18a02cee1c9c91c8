#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

const DescriptionCase description = {"arguments from 2 on",
                                     {u"7", u"2", u"x"},
                                     "Sample(%s, %s, 2, -2147483648, 1) | in 0 1 | out curve1:1 | "
                                     "par 2 -2147483648 1 | back 400"};

const RunCase runs[] = {
    {"holds what the last firing passed", {}, {{1, 0}, {2, 1}, {3, 0}, {4, -1}}, {U, 2, 2, 2}},
    {"or nothing", {u"", u"", u"", u"0"}, {{1, 0}, {2, 1}, {3, 0}}, {U, 2, U}},
    {"a firing lasts", {u"", u"2"}, {{1, 0}, {2, 1}, {3, 0}, {4, 0}}, {U, 2, 3, 3}},
    {"and another one starts the count again", {u"", u"2"}, {{1, 1}, {2, 1}, {3, 0}, {4, 0}}, {1, 2, 3, 3}},
    {"a rising trigger from 0 up",
     {u"", u"1", u"1"},
     {{1, 1}, {2, 2}, {3, 2}, {4, 3}, {5, -2}, {6, -1}, {7, 0}},
     {U, 2, 2, 4, 4, 4, 7}},
    {"the trigger beside a missing value is the one to rise above",
     {u"", u"1", u"1"},
     {{1, 1}, {U, 5}, {3, 4}, {4, U}, {5, 6}},
     {U, U, U, U, U}},
    {"a missing value stops the clock", {u"", u"2"}, {{1, 1}, {U, 1}, {3, 0}, {4, 0}}, {1, U, 3, 3}},
    {"no such mode", {u"", u"1", u"2"}, {{1, 0}, {2, 1}}, {U, U}},
    {"an unset length passes firings alone", {u"", u"x"}, {{1, 1}, {2, 0}, {3, 1}, {4, 1}}, {1, 1, 3, 4}},
};

TEST(SampleOp, Describes) { CheckDescription("Samp", description); }

TEST(SampleOp, Runs) {
    for (const RunCase& run : runs) CheckRun("Samp", run);
}

}  // namespace
}  // namespace sarvane::test
