#include "support/operator_driver.h"
#include "support/random_bars.h"

#include <gtest/gtest.h>

namespace sarvane::test {

const DescriptionCase descriptions[] = {
    {"a constant period", "5", "Wei( %s, 5) | in 0 | out curve1:1 | par 5 | back 5"},
    {"a period below 1 is bound", "0", "Wei( %s, -2147483648) | in 0 1 | out curve1:1 | par | back 400"},
};

const RunCase runs[] = {
    {"the newest value weighs most", "3", {{1}, {2}, {3}, {7}}, {14.0 / 6, 29.0 / 6}},
    {"a gap enters the window as the last input", "2", {{U}, {4}, {1}, {U}}, {11.0 / 3, 2, 1}, nullptr, {3}},
    {"values are added newest first", "3", {{-1e17}, {0.5e17}, {2}}, {0}},
    {"bound, with bad periods", "", {{1, 1}, {2, 2.9}, {3, U}, {U, 5}, {6, 0}, {1, 3}}, {1, 5.0 / 3, U, U, U, 3}},
};

TEST(WeightedAvgOp, Cases) { CheckCases("Wei", descriptions, runs); }

// The mean of the last `period` values with weights from `period` down to 1, in its simplest form.
double PlainWei(const std::vector<double>& values, int period) {
    double total = 0.0;
    int weights = 0;
    for (int weight = period; weight >= 1; --weight) {
        total += weight * values[values.size() - 1 - static_cast<std::size_t>(period - weight)];
        weights += weight;
    }
    return total / weights;
}

TEST(WeightedAvgOp, AgreesWithAPlainRendition) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        RandomBars random(seed);
        const int period = 1 + random.Below(30), depth = 8;
        OperatorDriver constant("Wei"), bound("Wei");
        constant.Set(1, std::to_string(period));
        bound.Set(-1, std::to_string(depth));
        constant.Reset({1});
        bound.Reset({1, 1});
        std::vector<double> values = {1};  // the seed
        for (int bar = 1; bar <= 400; ++bar) {
            const double input = random.Next(1)[0];
            const int wanted = random.Below(depth + 2);
            values.push_back(IsUndefined(input) ? values.back() : input);
            const bool fits = wanted >= 1 && wanted <= std::min(bar, depth);
            ExpectSameBits(constant.Step({input}), {bar < period ? U : PlainWei(values, period)}, "constant");
            ExpectSameBits(bound.Step({input, static_cast<double>(wanted)}), {fits ? PlainWei(values, wanted) : U},
                           "bound");
        }
    }
}

TEST(WeightedAvgOp, WrapsTheSumOfTheWeightsAt32Bits) {
    const std::vector<std::vector<double>> bars(65536, {1.0});
    std::vector<double> outputs(65535, U);
    outputs.push_back(2147516416.0 / -2147450880.0);
    CheckRun("Wei", {"65536 bars of 1", "65536", bars, outputs});
}

}  // namespace sarvane::test
