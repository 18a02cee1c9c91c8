#include "support/operator_driver.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numeric>
#include <random>

namespace sarvane::test {
namespace {

const DescriptionCase stdDescriptions[] = {
    {"a new one reads its period from a curve", "", "SDev (%s, N) | in 0 1 | out curve1:1 | par N | back 400"},
    {"a divisor that is no number is N-1", "5 N", "SDev (%s, 5, N-1) | in 0 | out curve1:1 | par 5 N-1 | back 5"},
};
const DescriptionCase sqrtDescriptions[] = {
    {"a new one reads its period from a curve", "", "SqrtDev( %s, N) | in 0 1 2 | out curve1:1 | par N | back 400"},
    {"minBars follows the period", "- 10", "SqrtDev( %s, 10, 10, N) | in 0 1 | out curve1:1 | par 10 10 N | back 10"},
    {"minBars has no limit", "- 10 12 1",
     "SqrtDev( %s, 10, 12, N-1) | in 0 1 | out curve1:1 | par 10 12 N-1 | back 10"},
    {"minBars is 1 at least", "- 10 few", "SqrtDev( %s, 10, 1, N) | in 0 1 | out curve1:1 | par 10 1 N | back 10"},
};
const DescriptionCase meanDescriptions[] = {
    {"a new one has a period of 0", "", "MeanDev(%s,0) | in 0 | out curve1:2 | par 0 | back 0"},
    {"a bound period", "0", "MeanDev(%s,-2147483648) | in 0 1 | out curve1:2 | par | back 400"},
};

const RunCase stdRuns[] = {
    {"divided by N", "3", {{1}, {2}, {3}}, {std::sqrt(2.0 / 3)}},
    {"divided by N-1", "3 1", {{1}, {2}, {3}, {U}}, {1, std::sqrt((4.0 / 9 + 1.0 / 9 + 1.0 / 9) / 2)}},
    {"one value is divided by N", "1 1", {{U}, {7}}, {0}},
    {"a bound period is held to the depth",
     "",
     {{1, 1}, {3, 2.9}, {7, 3}, {3, U}, {5, 2}, {5, 0}},
     {0, 1, U, U, 1, U},
     "2"},
};
const RunCase sqrtRuns[] = {
    {"minBars starts early",
     "- 3 2",
     {{1, 5}, {2, 5}, {8, 5}, {5, 5}},
     {std::sqrt(12.5), std::sqrt(34.0 / 3), std::sqrt(6.0)}},
    {"the present reference counts for all values", "- 2 - 1", {{1, 9}, {4, 1}, {4, 7}}, {3, std::sqrt(18.0)}},
    {"values fill the window ahead of a first reference", "- 2", {{3, U}, {4, U}, {U, 7}}, {3}},
    {"nothing is kept ahead of a first value", "- 1", {{U, 7}, {4, U}}, {}},
    {"a seed for both", "- 1", {{U, U}}, {3}, nullptr, {4, 1}},
    {"a bound period", "", {{1, 2, 1}, {5, 3, 2}, {5, 3, 3}, {6, U, 1.9}}, {1, 2, U, 3}, "2"},
};
const RunCase meanRuns[] = {
    {"from the mean", "3", {{1}, {2}, {6}, {U}}, {2, (8.0 / 3 + 4.0 / 3 + 4.0 / 3) / 3}},
    {"a period of 0 gives nothing", "", {{1}, {1}}, {}},
    {"the mean is a running one", "2", {{1e17}, {1}, {1}}, {5e16, 0.5}},
    {"a bound period has a mean of its own", "x", {{1, 1}, {3, 2}, {8, 2.9}, {8, U}, {9, 5}}, {0, 1, 2.5, U, U}, "3"},
};

TEST(Deviations, Cases) {
    CheckCases("SDev", stdDescriptions, stdRuns);
    CheckCases("DevSqrt", sqrtDescriptions, sqrtRuns);
    CheckCases("MeanDev", meanDescriptions, meanRuns);
}

double Deviation(const std::vector<double>& values) {
    const double count = static_cast<double>(values.size());
    const double mean = std::accumulate(values.begin(), values.end(), 0.0) / count;
    double squares = 0.0;
    for (const double value : values) squares += (mean - value) * (mean - value);
    return std::sqrt(squares / count);
}

TEST(Deviations, AgreeWithAPlainRecomputation) {
    std::mt19937 random(1);
    OperatorDriver constant("SDev"), bound("SDev");
    constant.Set(1, "5");
    constant.Reset();
    bound.Reset();
    std::vector<double> values = {1.0};
    for (int bar = 0; bar < 300; ++bar) {
        const bool gap = bar > 0 && random() % 8 == 0;
        values.push_back(gap ? values.back() : static_cast<double>(random()) / 1e6);
        const double input = gap ? U : values.back();
        const int period = static_cast<int>(random() % 9) + 1;
        const double backwards = bar + 1 < period ? U : Deviation({values.rbegin(), values.rbegin() + period});
        ExpectSameBits(constant.Step({input}), {bar < 4 ? U : Deviation({values.end() - 5, values.end()})}, "constant");
        ExpectSameBits(bound.Step({input, static_cast<double>(period)}), {backwards}, "bound");
    }
}

}  // namespace
}  // namespace sarvane::test
