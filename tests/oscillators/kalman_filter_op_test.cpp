#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {

const RunCase runs[] = {
    {"a gap repeats the last input as a measurement",
     "1 2 1",
     {{12}, {U}, {8}},
     {11, 1, 11.5, 1, 9.75, 1},
     nullptr,
     {10}},
    {"the first input is the first estimate", "1 2 1", {{U}, {10}, {12}}, {10, 1, 11, 1}},
    {"the variance settles", "1 1 0", {{4}, {8}, {8}}, {4, 0, 6, 0.5, 7.2, 0.4 * 1.5}},
};

TEST(KalmanFilterOp, Cases) { CheckCases("KalmanFilter", {}, runs); }

TEST(KalmanFilterOp, TakesParametersAtTheStartOfARun) {
    OperatorDriver op("KalmanFilter");
    op.Set(-1, "50");
    op.SetArguments("1 2 1");
    op.Reset({10});
    op.Set(2, "0");
    EXPECT_EQ(op.Description(), "KalmanFilter( %s, 1.000000, 0.000000, 1.000000) | in 0 | out curve1:1 curve2:1 | par "
                                "1.000000 0.000000 1.000000 | back 50");
    ExpectSameBits(op.Step({12}), {11, 1}, "running");
    op.Reset({10});
    ExpectSameBits(op.Step({12}), {12, 0}, "started again");
}

}  // namespace sarvane::test
