#include "support/operator_driver.h"
#include "support/random_bars.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

const DescriptionCase descriptions[] = {
    {"the longest lag counts for the history", "2 7 4 5 3 2",
     "DemOp( %s, 2, 7, 4, 5, 3, 2) | in 0O 0H 0L 0C | out percent:3 | par 2 7 4 5 3 2 | back 10"},
    {"a length below 1 is unset", "- - - - 0",
     "DemOp( %s, 1, 1, 3, 1, -2147483648, 1) | in 0O 0H 0L 0C 1 | out percent:3 | par 1 1 3 1 -2147483648 | back 400"},
};

const RunCase runs[] = {
    {"nothing is known before the first parameter", "", {{9, 10, 9, 9}, {9, 11, 10, 9}}, {}},
    {"averages fill from the first bar on",
     "1",
     {{9, 10, 9, 9}, {9, 11, 10, 9}, {9, 12, 10, 9}, {9, 11, 9, 9}},
     {0.5 * 100.0 / 0.75}},
    {"nothing moves before both lags are reached", "1 2 3 1 1", {{9, 10, 9, 9}, {9, 12, 8, 9}, {9, 13, 7, 9}}, {75}},
    {"against closes, the first one alone", "1 1 3 1 1 2", {{9, 10, 8, 9}, {9, 11, 9, 10}}, {50, 75}},
    {"against closes with two lags",
     "1 2 3 1 1 2",
     {{9, 10, 8, 9}, {9, 11, 9, 10}, {9, 14, 9, 13}, {9, 14, 4, 13}},
     {50, 50, 9.0 * 100.0 / 11, 13.0 * 100.0 / 23}},
    {"against closes, the low looking further back",
     "1 1 3 2 1 2",
     {{9, 10, 8, 9}, {9, 11, 9, 10}, {9, 12, 5, 8}, {9, 9, 7, 8}},
     {50, 75, 5.0 * 100.0 / 13, 2.0 * 100.0 / 6}},
    {"fields repeat one by one",
     "- - - - 3",
     {{9, 10, U, 9}, {9, 10, 9, 9}, {U, 11, 8, 9}, {U, U, 7, U}},
     {1.0 / 3 * 100.0}},
    {"the seed stands in for first gaps", "- - - - 1", {{U, 5, U, U}, {U, 6, U, U}}, {100}, nullptr, {4, 4, 4, 4}},
    {"a bar without a value", "15 1 3 1 1", {{9, 10, 9, 9}, {9, 11, 9, 9}}, {}},
    {"a movement above 1e-100 counts", "1 1 3 1 1", {{0, 0, 0, 0}, {0, 1.1e-100, 0, 0}}, {100}},
    {"a lag below 0 reaches no bar", "1 1 3 -1 1 2", {{9, 10, 8, 9}, {9, 11, 9, 9}}, {}},
};

TEST(DeMOp, Cases) { CheckCases("DeMOp", descriptions, runs); }

enum Price : std::size_t { Open, High, Low, Close };
using Series = std::vector<std::vector<double>>;  // of whole bars

// The mean of the last `length` values, from a running sum.
double Mean(const std::vector<double>& values, std::size_t length) {
    if (values.size() < length) return U;
    if (length == 1) return values.back();
    double sum = 0.0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i >= length) sum -= values[i - length];
        sum += values[i];
    }
    return sum / static_cast<double>(length);
}

// The definition, from all bars so far: what it gives on the last one.
double PlainPercent(const Series& bars, std::size_t highLag, std::size_t lowLag, std::size_t length, int mode) {
    std::vector<double> ups, totals;
    for (std::size_t i = 0; i < bars.size(); ++i) {
        const double high = bars[i][High], low = bars[i][Low], close = bars[i][Close];
        double up = 0.0, down = 0.0;
        if (mode == 2) {
            if (i >= highLag && high > bars[i - highLag][Close]) up = high - bars[i - highLag][Close];
            if (high > close) down = high - close;
            if (i >= lowLag && bars[i - lowLag][Close] > low) down = down + bars[i - lowLag][Close] - low;
            if (close > low) up = up + close - low;
        } else if (i >= highLag && i >= lowLag) {
            if (high > bars[i - highLag][High]) up = high - bars[i - highLag][High];
            if (bars[i - lowLag][Low] > low) down = bars[i - lowLag][Low] - low;
        }
        ups.push_back(up);
        totals.push_back(down + up);
    }
    const double total = Mean(totals, length);
    return total != U && std::abs(total) > 1e-100 ? Mean(ups, length) * 100.0 / total : U;
}

TEST(DeMOp, AgreesWithItsDefinition) {
    RandomBars random(1);
    for (int run = 0; run < 40; ++run) {
        const int highLag = random.Below(5), lowLag = random.Below(5), length = 1 + random.Below(6);
        const int mode = 1 + random.Below(2);
        OperatorDriver op("DeMOp");
        op.SetArguments("1 " + std::to_string(highLag) + " 3 " + std::to_string(lowLag) + " " + std::to_string(length) +
                        " " + std::to_string(mode));
        op.Reset();
        Series bars;
        for (int bar = 0; bar < 60; ++bar) {
            const std::vector<double> in = random.Next(4);
            std::vector<double> filled = in;
            for (std::size_t i = 0; i < 4; ++i) filled[i] = in[i] == U && !bars.empty() ? bars.back()[i] : in[i];
            const bool isWhole = std::ranges::count(filled, U) == 0;
            if (isWhole) bars.push_back(filled);
            const double expected =
                isWhole ? PlainPercent(bars, static_cast<std::size_t>(highLag), static_cast<std::size_t>(lowLag),
                                       static_cast<std::size_t>(length), mode)
                        : U;
            ExpectSameBits(op.Step(in), {expected}, "run " + std::to_string(run) + ", bar " + std::to_string(bar));
        }
    }
}

}  // namespace
}  // namespace sarvane::test
