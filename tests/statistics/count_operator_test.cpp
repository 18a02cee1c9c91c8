#include "frame/chart_label.h"
#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

double First(const char* text) { return EncodeLabel({.curve = 0, .text = text}); }
double Second(const char* text) { return EncodeLabel({.curve = 1, .text = text}); }

const DescriptionCase descriptions[] = {
    {"a new one", "", "Count(%s, 0, %s) | in 0H 0L 2 3 | out high:1 low:1 label1:3 label2:3 | par 0 | back 0"},
    {"no text brings the 0 back", "0",
     "Count(%s, -2147483648, %s) | in 0H 0L 2 3 | out high:1 low:1 label1:3 label2:3 | par -2147483648 | back 400"},
};

const RunCase runs[] = {
    {"labels at one count only",
     "2",
     {{8, 7, 0, 0}, {8, 7, 1, 0}, {8, 7, 1, 1}, {8, 7, 1, 1}},
     {8, 7, U, U, 8, 7, U, U, 8, 7, First("2"), U, 8, 7, U, Second("2")}},
    {"each condition counts from its first 0, and a gap repeats it",
     "",
     {{8, 7, U, 2}, {9, 6, 0, U}, {9, 6, 1, 0}, {9, 6, U, U}},
     {8, 7, U, Second("0"), 9, 6, First("0"), Second("0"), 9, 6, First("1"), Second("0"), 9, 6, First("2"),
      Second("0")}},
    {"without a high, high and low repeat together; a low alone may miss",
     "1",
     {{U, 7, 0, 0}, {9, 6, 1, 1}, {U, 5, U, U}, {8, U, U, U}},
     {9, 6, U, U, 9, 6, U, U, 8, U, U, U}},
};

TEST(CountOperator, Cases) { CheckCases("CountOp", descriptions, runs); }

}  // namespace
}  // namespace sarvane::test
