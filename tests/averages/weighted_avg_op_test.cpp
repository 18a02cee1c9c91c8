#include "support/operator_driver.h"

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
    {"a bound period reaches no further than the history depth", "", {{1, 1}, {2, 2}, {4, 3}}, {1, 5.0 / 3, U}, "2"},
};

TEST(WeightedAvgOp, Cases) { CheckCases("Wei", descriptions, runs); }

TEST(WeightedAvgOp, WrapsTheSumOfTheWeightsAt32Bits) {
    const std::vector<std::vector<double>> bars(65536, {1.0});
    std::vector<double> outputs(65535, U);
    outputs.push_back(2147516416.0 / -2147450880.0);
    CheckRun("Wei", {"65536 bars of 1", "65536", bars, outputs});
}

}  // namespace sarvane::test
