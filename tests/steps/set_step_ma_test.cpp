#include "steps/set_step_ma.h"
#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

struct StepCase {
    const char* fact;
    StepKind kind;
    double length;
    std::vector<double> inputs, outputs;
    int lookback;
};

const StepCase cases[] = {
    {"a simple average repeats a gap once it has a value", StepSim, 2, {U, 4, U, 6}, {U, U, 4, 5}, 2},
    {"a simple average divides by the length before truncation", StepSim, 2.5, {1, 4, 6}, {U, 2, 4}, 2},
    {"a smoothed average starts as a simple one", StepSmo, 4, {1, 2, 3, 6, 7, 5}, {U, U, U, 3, 4, 4.25}, 200},
    {"an exponential average starts as its first input", StepExp, 3, {U, 1, 2, U}, {U, 1, 1.5, 1.75}, 200},
    {"a length up to 1 is a ratio", StepExp, 0.25, {4, 8, 1}, {4, 5, 4}, 200},
    {"a length just above 1 is not", StepExp, 1.5, {0, 10}, {0, 8}, 200},
    {"a ratio of 1/32 stands for 63 bars", StepExp, 0.03125, {5}, {5}, 252},
    {"the lowest leaves with its window", StepLowest, 2, {5, 1, 4, 3}, {U, 1, 1, 3}, 2},
    {"the highest leaves with its window", StepHighest, 2, {1, 5, 2, 3}, {U, 5, 5, 3}, 2},
    {"a running sum keeps the error of its rounding", StepSum, 2, {1e17, 1, 2, 3}, {U, 1e17, 2, 4}, 2},
    {"a length of 1 passes on its input and keeps nothing", StepSum, 1.9, {7, U}, {7, U}, 1},
    {"a length beyond an int gives nothing", StepHighest, 3e9, {7, 7}, {U, U}, UndefinedParam},
};

TEST(SetStepMA, Steps) {
    for (const StepCase& expected : cases) {
        CSetStepMA step(expected.kind, expected.length);
        EXPECT_EQ(step.GetLookback(), expected.lookback) << expected.fact;
        std::vector<double> outputs;
        for (const double input : expected.inputs) outputs.push_back(step.Step(input));
        ExpectSameBits(outputs, expected.outputs, expected.fact);
    }
}

TEST(SetStepMA, ItsKindCanChangeBetweenTwoBars) {
    CSetStepMA extreme(StepHighest, 3), average(StepExp, 1);
    for (const double input : {1.0, 5.0, 2.0}) extreme.Step(input);
    extreme.Configure(StepLowest, 3);
    EXPECT_EQ(extreme.Step(4.0), 2.0) << "of 5, 2 and 4";
    for (const double input : {3.0, 4.0}) average.Step(input);
    average.Configure(StepSim, 2);
    EXPECT_EQ(average.Step(6.0), 3.0) << "the sum begins with this input";
}

TEST(SetStepMA, SnapshotsOutliveReset) {
    CSetStepMA step(StepSum, 3);
    EXPECT_EQ(step.Configure(StepExp, UndefinedValue), 0);
    for (int input = 0; input < 100; ++input) step.Step(input);
    step.Save(2);
    step.Reset();
    for (const double input : {U, 8.0, 8.0}) EXPECT_EQ(step.Step(input), U);
    EXPECT_EQ(step.Restore(3), 0);
    EXPECT_EQ(step.Restore(2), 1);
    EXPECT_EQ(step.Step(100), 98 + 99 + 100);
}

}  // namespace
}  // namespace sarvane::test
