#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {

const DescriptionCase descriptions[] = {
    {"defaults", "", "TimeAvg( %s, 10, 1000) | in 0 1 | out curve1:1 | par 10 1000 | back 1000"},
    {"no numbers", "- x y", "TimeAvg( %s, 0, 0) | in 0 1 | out curve1:1 | par 0 0 | back 0"},
};

const RunCase runs[] = {
    {"each key has a window", "- 2", {{1, 1}, {5, 2}, {3, 1.9}, {8, 2}, {4, 1}}, {2, 6.5, 3.5}},
    {"a gap is skipped, a missing key is a key", "- 2", {{1, U}, {U, U}, {3, U}}, {2}},
    {"a sum grows by the new value minus the oldest, in one step",
     "- 1",
     {{1e308, 1}, {1e308, 1}, {1, 1}},
     {1e308, 1e308, 0}},
};

TEST(TimeAvgOp, Cases) { CheckCases("TimeAvg", descriptions, runs); }

TEST(TimeAvgOp, TakesTheLastUpdateBackOnceWithoutWhatItPushedOut) {
    OperatorDriver op("TimeAvg");
    op.Set(2, "2");
    for (const double value : {1.0, 9.0, 4.0, U}) op.Step({value, 7});
    EXPECT_EQ(op->RestoreState(-3), S_OK);
    EXPECT_EQ(op->RestoreState(1), S_OK);
    EXPECT_EQ(op.Step({3, 7})[0], 6);
}

TEST(TimeAvgOp, KeepsItsWindowsAfterABadPeriodUntilTheNextRun) {
    OperatorDriver op("TimeAvg");
    op.Set(2, "1");
    TextSlot error = nullptr;
    EXPECT_EQ(op->SetParameter(2, u"-4", &error), E_FAIL);
    EXPECT_EQ(Taken(error), "Period of TimeAvg operator shall be positive integer number.");
    EXPECT_EQ(op.Step({4, 1})[0], 4);
    op.Reset();
    EXPECT_EQ(op.Step({4, 1})[0], U);
    EXPECT_EQ(op->RestoreState(0), S_OK);
    EXPECT_EQ(op.Set(2, "536870912"), S_OK);
    const double in[] = {4, 1};
    double out = 0.0;
    EXPECT_EQ(op->Calculate(2, in, 1, &out), E_OUTOFMEMORY) << "a window that cannot be made";
    EXPECT_EQ(op.Set(2, "1"), S_OK);
    EXPECT_EQ(op->Calculate(2, in, 1, &out), E_OUTOFMEMORY) << "not before a new run";
    op.Reset();
    EXPECT_EQ(op.Step({4, 1})[0], 4);
}

}  // namespace sarvane::test
