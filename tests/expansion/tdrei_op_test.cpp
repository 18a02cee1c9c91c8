#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

const DescriptionCase descriptions[] = {
    {"a long lag counts for the history", "3 0 1 5 4 6 40 2",
     "TDREI( %s, 3, 0, 1, 5, 4, 6, 40, 2) | in 0O 0H 0L 0C | out curve1:3 | par 3 0 1 5 4 6 40 2 | back 43"},
    {"a period below 1 is unset", "0",
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
    {"a steady rise is all counted", "8", Rising(17), {100, 100}},
    {"a long lag is waited for", "1 1 1 1 2 3 5", Rising(6), {100}},
    {"a flat market has no index", "1 1 1", Around({9, 9, 9, 9, 9}), {}},
    {"a leap counts only in the absolute movement",
     "2 1 1",
     Around({10, 10, 20, 20, 40, 40, 80}),
     {50, 40.0 * 100.0 / 120}},
    {"a leap cancels the bar before it", "2 1 1 - - - - 2", Around({10, 10, 20, 20, 40, 40, 80}), {50, 0}},
    {"the bar two back touches an earlier close", "1 1 1", Around({10, 0, 12, 12, 40}), {100}},
    {"which may not be enough", "1 0 1", Around({10, 0, 12, 12, 40}), {0}},
    {"this bar touches an earlier range", "1 1 1", Around({1, 1, 20, 28, 32}), {100}},
    {"which may not be enough either", "1 0 1", Around({1, 1, 20, 28, 32}), {0}},
    {"its own high and low against earlier values", "1 1 1 5 2 5 2", Around({9, 9, 9, 9, 10}), {50}},
    {"fields repeat one by one",
     "1 1 1",
     {{9, 11, 7, 9}, {U, U, U, U}, {U, U, U, U}, {U, U, U, U}, {U, 13, U, U}},
     {100}},
    {"a lag below 0 reaches no bar", "1 1 1 1 -2", Rising(6), {}},
};

TEST(TDREIOp, Cases) { CheckCases("TDREIOP", descriptions, runs); }

}  // namespace
}  // namespace sarvane::test
