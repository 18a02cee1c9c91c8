#include "support/operator_driver.h"
#include "support/random_bars.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

const DescriptionCase descriptions[] = {
    {"a long lag counts for the history", "3 0 1 5 4 6 40 2",
     "TDREI( %s, 3, 0, 1, 5, 4, 6, 40, 2) | in 0O 0H 0L 0C | out curve1:3 | par 3 0 1 5 4 6 40 2 | back 43"},
    {"with short lags the period alone counts", "5",
     "TDREI( %s, 5, 1, 0, 1, 2, 3, 2, 1) | in 0O 0H 0L 0C | out curve1:3 | par 5 1 0 1 2 3 2 1 | back 23"},
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
    {"but not before the sums are full", "3 1 1 - - - - 2", Around({10, 10, 20, 20, 40, 40, 80}), {40.0 * 100.0 / 160}},
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

struct Arguments {
    int period, inclusive, periodWindow, highLag, lowLag, mode;
};

// The definition, from all bars so far: what it gives on the last one.
double PlainIndex(const Bars& bars, const Arguments& arguments) {
    const auto& [period, inclusive, periodWindow, highLag, lowLag, mode] = arguments;
    const int window = periodWindow == 0 ? 8 : std::max(period, 4);
    const auto reaches = [&](double a, double b) { return arguments.inclusive ? a >= b : a > b; };
    std::vector<double> numerators, denominators;
    for (int i = std::max({window, highLag, lowLag}); i < static_cast<int>(bars.size()); ++i) {
        const auto high = [&](int back) { return bars[static_cast<std::size_t>(i - back)][1]; };
        const auto low = [&](int back) { return bars[static_cast<std::size_t>(i - back)][2]; };
        const auto close = [&](int back) { return bars[static_cast<std::size_t>(i - back)][3]; };
        const double up = high(0) - high(highLag), down = low(0) - low(lowLag);
        const double c1 = close(window), c2 = close(window - 1);
        const bool first =
            (reaches(high(2), c1) || reaches(high(2), c2)) && (reaches(c1, low(2)) || reaches(c2, low(2)));
        const bool second = (reaches(high(0), low(window - 2)) || reaches(high(0), low(window - 3))) &&
                            (reaches(high(window - 2), low(0)) || reaches(high(window - 3), low(0)));
        const bool counts = first || second;
        if (mode == 2 && !counts && static_cast<int>(numerators.size()) >= period) numerators.back() = 0.0;
        numerators.push_back(counts ? down + up : 0.0);
        denominators.push_back(std::abs(down) + std::abs(up));
    }
    if (static_cast<int>(numerators.size()) < period) return U;
    double counted = 0.0, absolute = 0.0;
    for (std::size_t i = numerators.size() - static_cast<std::size_t>(period); i < numerators.size(); ++i) {
        counted += numerators[i];
        absolute += denominators[i];
    }
    return absolute > 1e-100 ? counted * 100.0 / absolute : U;
}

// Prices are rounded, so that many of them are equal.
TEST(TDREIOp, AgreesWithItsDefinition) {
    RandomBars random(1);
    for (int run = 0; run < 60; ++run) {
        const Arguments arguments = {1 + random.Below(10), random.Below(2), random.Below(2),
                                     random.Below(12),     random.Below(5), 1 + random.Below(2)};
        const auto& [period, inclusive, periodWindow, highLag, lowLag, mode] = arguments;
        OperatorDriver op("TDREIOP");
        std::string words;
        for (const int number : {period, inclusive, periodWindow, 1, highLag, 3, lowLag, mode})
            words += std::to_string(number) + " ";
        op.SetArguments(words);
        op.Reset();
        Bars bars;
        for (int bar = 0; bar < 60; ++bar) {
            std::vector<double> in = random.Next(4);
            for (double& price : in) price = std::floor(price * 2) / 2;
            std::vector<double> filled = in;
            for (std::size_t i = 0; i < 4; ++i) filled[i] = in[i] == U && !bars.empty() ? bars.back()[i] : in[i];
            const bool isWhole = std::ranges::count(filled, U) == 0;
            if (isWhole) bars.push_back(filled);
            ExpectSameBits(op.Step(in), {isWhole ? PlainIndex(bars, arguments) : U}, words + std::to_string(bar));
        }
    }
}

}  // namespace
}  // namespace sarvane::test
