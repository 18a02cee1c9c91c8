#include "support/operator_driver.h"
#include "support/random_bars.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numeric>

namespace sarvane::test {
namespace {

const DescriptionCase descriptions[] = {
    {"a period that is not set is bound", "", "Sim( %s, -2147483648) | in 0 1 | out curve1:1 | par | back 400"},
    {"a constant period", "5", "Sim( %s, 5) | in 0 | out curve1:1 | par 5 | back 5"},
    {"minBars", "5 5", "Sim( %s, 5, 5) | in 0 | out curve1:1 | par 5 5 | back 5"},
    {"minBars above the period is unset", "5 6", "Sim( %s, 5) | in 0 | out curve1:1 | par 5 | back 5"},
    {"minBars below 1 is unset", "5 0", "Sim( %s, 5) | in 0 | out curve1:1 | par 5 | back 5"},
    {"no minBars without a period", "0 1", "Sim( %s, -2147483648) | in 0 1 | out curve1:1 | par | back 400"},
};

const RunCase runs[] = {
    {"minBars starts early", "3 2", {{1}, {2}, {3}, {6}}, {1.5, 2, 11.0 / 3}},
    {"a gap repeats the last input", "2", {{U}, {4}, {U}, {6}}, {4, 5}},
    {"the seed stands in for a first gap", "2", {{U}, {4}}, {3}, nullptr, {2}},
    {"a huge value leaves no residue", "2", {{1e300}, {1}, {2}, {4}}, {5e299, 1.5, 3}},
    // A sum is added up afresh if 2^-52 of the value that left exceeds 1e-8 of the sum, here for sums below 2.2e-5.
    {"a sum that lost too many digits is added up afresh",
     "2",
     {{1000}, {2.1e-5}, {0}},
     {(1000 + 2.1e-5) / 2, 1.05e-5}},
    {"a sum that lost few digits stays",
     "2",
     {{1000}, {2.3e-5}, {0}},
     {(1000 + 2.3e-5) / 2, ((1000 + 2.3e-5) - 1000) / 2}},
    {"near zero the limit of the loss is 2^-52", "2", {{1.05}, {2.4e-8}, {0}}, {(1.05 + 2.4e-8) / 2, 1.2e-8}},
    {"a loss of as much is within the limit", "2", {{1}, {2.4e-8}, {0}}, {(1 + 2.4e-8) / 2, ((1 + 2.4e-8) - 1) / 2}},
    {"a sum of 3e-8 is not near zero", "2", {{1.17}, {3e-8}, {0}}, {(1.17 + 3e-8) / 2, ((1.17 + 3e-8) - 1.17) / 2}},
    {"bound, with bad periods", "", {{1, 1}, {2, 2.9}, {4, 0}, {8, U}, {16, 5}, {32, 7}}, {1, 1.5, U, U, 6.2, U}},
};

TEST(SimAvgOp, Cases) { CheckCases("Sim", descriptions, runs); }

// The running sum of a constant period in its simplest form.
struct PlainSim {
    std::size_t period, minBars;
    double sum = 0.0;
    std::vector<double> window = {};

    double Step(double value) {
        if (window.size() == period) {
            const double oldest = window.front();
            window.erase(window.begin());
            sum -= oldest;
            const double size = std::abs(sum), tolerance = size > 2.4424906541753444e-8 ? size / 1e8 : 0x1p-52;
            if (std::abs(oldest * 0x1p-52) > tolerance) sum = std::accumulate(window.begin(), window.end(), 0.0);
        }
        window.push_back(value);
        sum += value;
        return window.size() >= minBars ? sum / static_cast<double>(window.size()) : U;
    }
};

TEST(SimAvgOp, AgreesWithAPlainRendition) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        RandomBars random(seed);
        const int period = 1 + random.Below(30), minBars = 1 + random.Below(period), depth = 8;
        PlainSim plain{static_cast<std::size_t>(period), static_cast<std::size_t>(minBars)};
        OperatorDriver constant("Sim"), bound("Sim");
        constant.SetArguments(std::to_string(period) + " " + std::to_string(minBars));
        bound.Set(-1, std::to_string(depth));
        constant.Reset({1});
        bound.Reset({1, 1});
        std::vector<double> values = {1};  // the seed
        for (int bar = 1; bar <= 400; ++bar) {
            const double input = random.Next(1)[0];
            const int wanted = random.Below(depth + 2);
            values.push_back(IsUndefined(input) ? values.back() : input);
            const bool fits = wanted >= 1 && wanted <= std::min(bar, depth);
            const double backwards = std::accumulate(values.rbegin(), values.rbegin() + (fits ? wanted : 0), 0.0);
            ExpectSameBits(constant.Step({input}), {plain.Step(values.back())}, "constant");
            ExpectSameBits(bound.Step({input, static_cast<double>(wanted)}), {fits ? backwards / wanted : U}, "bound");
        }
    }
}

}  // namespace
}  // namespace sarvane::test
