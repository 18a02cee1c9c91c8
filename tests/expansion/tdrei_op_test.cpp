#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

const DescriptionCase descriptions[] = {
    {"a long lag counts for the history",
     {u"3", u"0", u"1", u"5", u"4", u"6", u"40", u"2"},
     "TDREI( %s, 3, 0, 1, 5, 4, 6, 40, 2) | in 0O 0H 0L 0C | out curve1:3 | par 3 0 1 5 4 6 40 2 | back 43"},
    {"a period below 1 is unset",
     {u"0"},
     "TDREI( %s, -2147483648, 1, 0, 1, 2, 3, 2, 1) | in 0O 0H 0L 0C 1 | out curve1:3 | par -2147483648 1 0 1 2 3 2"
     " | back 0"},
};

using Bars = std::vector<std::vector<double>>;

// Bars of height 4 around each price, which is also where they close.
Bars Around(const std::vector<double>& prices) {
    Bars bars;
    for (const double price : prices) bars.push_back({price, price + 2, price - 2, price});
    return bars;
}

Bars Rising(int count) {
    std::vector<double> prices;
    for (int i = 0; i < count; ++i) prices.push_back(20 + i * 0.25);
    return Around(prices);
}

const RunCase runs[] = {
    {"a steady rise is all counted", {u"8"}, Rising(17), {U, U, U, U, U, U, U, U, U, U, U, U, U, U, U, 100, 100}},
    {"a long period looks back itself", {u"5", u"1", u"1"}, Rising(10), {U, U, U, U, U, U, U, U, U, 100}},
    {"a long lag is waited for", {u"1", u"1", u"1", u"1", u"2", u"3", u"5"}, Rising(6), {U, U, U, U, U, 100}},
    {"a flat market has no index", {u"1", u"1", u"1"}, Around({9, 9, 9, 9, 9}), {U, U, U, U, U}},
    {"a leap counts only in the absolute movement",
     {u"2", u"1", u"1"},
     Around({10, 10, 20, 20, 40, 40, 80}),
     {U, U, U, U, U, 50, 40.0 * 100.0 / 120}},
    {"a leap cancels the bar before it, once the period is full",
     {u"2", u"1", u"1", u"", u"", u"", u"", u"2"},
     Around({10, 10, 20, 20, 40, 40, 80}),
     {U, U, U, U, U, 50, 0}},
    {"the bar two back touches an earlier close", {u"1", u"1", u"1"}, Around({10, 0, 12, 12, 40}), {U, U, U, U, 100}},
    {"which may not be enough", {u"1", u"0", u"1"}, Around({10, 0, 12, 12, 40}), {U, U, U, U, 0}},
    {"this bar touches an earlier range", {u"1", u"1", u"1"}, Around({1, 1, 20, 28, 32}), {U, U, U, U, 100}},
    {"which may not be enough either", {u"1", u"0", u"1"}, Around({1, 1, 20, 28, 32}), {U, U, U, U, 0}},
    {"the bar's own high and low are compared with earlier values",
     {u"1", u"1", u"1", u"5", u"2", u"5", u"2"},
     Around({9, 9, 9, 9, 10}),
     {U, U, U, U, 50}},
    {"fields repeat one by one",
     {u"1", u"1", u"1"},
     {{9, 11, 7, 9}, {U, U, U, U}, {U, U, U, U}, {U, U, U, U}, {U, 13, U, U}},
     {U, U, U, U, 100}},
    {"a lag below 0 reaches no bar", {u"1", u"1", u"1", u"1", u"-2"}, Rising(6), {U, U, U, U, U, U}},
};

TEST(TDREIOp, Describes) {
    for (const DescriptionCase& expected : descriptions) CheckDescription("TDREIOP", expected);
}

TEST(TDREIOp, Runs) {
    for (const RunCase& run : runs) CheckRun("TDREIOP", run);
}

}  // namespace
}  // namespace sarvane::test
