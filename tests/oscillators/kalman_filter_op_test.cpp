#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

const RunCase runs[] = {
    {"a gap measures the last input again",
     {u"1", u"2", u"1"},
     {{12}, {U}, {8}},
     {11, 1, 11.5, 1, 9.75, 1},
     nullptr,
     {10}},
    {"the first input is the first estimate", {u"1", u"2", u"1"}, {{U}, {10}, {12}}, {U, U, 10, 1, 11, 1}},
    {"the variance settles", {u"1", u"1", u"0"}, {{4}, {8}, {8}}, {4, 0, 6, 0.5, 7.2, 0.4 * 1.5}},
};

TEST(KalmanFilterOp, Runs) {
    for (const RunCase& run : runs) CheckRun("KalmanFilter", run);
}

TEST(KalmanFilterOp, TakesParametersAtTheStartOfARun) {
    OperatorDriver op("KalmanFilter");
    op.SetArguments({u"1", u"2", u"1"});
    op.Reset({10});
    op.Set(2, u"0");
    EXPECT_EQ(op.Description(), "KalmanFilter( %s, 1.000000, 0.000000, 1.000000) | in 0 | out curve1:1 curve2:1 | par "
                                "1.000000 0.000000 1.000000 | back 400");
    ExpectSameBits(op.Step({12}), {11, 1}, "running");
    op.Reset({10});
    ExpectSameBits(op.Step({12}), {12, 0}, "started again");
}

}  // namespace
}  // namespace sarvane::test
