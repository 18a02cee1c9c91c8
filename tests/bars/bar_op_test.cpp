#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

struct BarCase {
    const char *keyword, *formulaAndInputs, *kind;
    std::vector<double> bar, result;
};

const BarCase cases[] = {
    {"BarAdd", "(%s+%s) | in 0O 0H 0L 0C 1", "1", {10, 12, 8, 11, 5}, {15, 17, 13, 16}},
    {"BarSub", "(%s-%s) | in 0O 0H 0L 0C 1", "1", {10, 12, 8, 11, 5}, {5, 7, 3, 6}},
    {"BarMul", "%s*%s | in 0O 0H 0L 0C 1", "8", {10, 12, 8, 11, -2}, {-20, -16, -24, -22}},
    {"BarDiv", "(%s/%s) | in 0O 0H 0L 0C 1", "9", {10, 12, 8, 11, -1}, {-10, -8, -12, -11}},
    {"SBarAdd", "(%s+%s) | in 0 1O 1H 1L 1C", "1", {5, 10, 12, 8, 11}, {15, 17, 13, 16}},
    {"SBarSub", "(%s-%s) | in 0 1O 1H 1L 1C", "1", {100, 10, 12, 8, 11}, {90, 92, 88, 89}},
    {"SBarMul", "(%s*%s) | in 0 1O 1H 1L 1C", "8", {-2, 10, 12, 8, 11}, {-20, -16, -24, -22}},
    {"SBarDiv", "(%s/%s) | in 0 1O 1H 1L 1C", "9", {24, 6, 12, 8, 3}, {4, 3, 2, 8}},
};

TEST(BarOp, CombinesABarAndAValue) {
    for (const BarCase& each : cases) {
        OperatorDriver op(each.keyword);
        std::string description = each.formulaAndInputs + std::string(" | out");
        for (const char* name : {" open:", " high:", " low:", " close:"}) description.append(name).append(each.kind);
        EXPECT_EQ(op.Description(), description + " | par | back 0");

        std::vector<double> gap = each.bar;
        gap[0] = U;
        op.Reset(each.bar, 2);
        op->SaveState(2);
        ExpectSameBits(op.Step(gap), {U, U, U, U}, "only mode 1 fills gaps");
        ExpectSameBits(op.Step(each.bar), each.result, each.keyword);
        op->SaveState(1);
        op.Reset({}, 1);
        op->RestoreState(1);
        ExpectSameBits(op.Step(gap), each.result, "the newer mode fills the gap from an older snapshot");
        op->RestoreState(2);
        ExpectSameBits(op.Step(gap), {U, U, U, U}, "which holds no seed of another mode");
    }
}

TEST(BarOp, DivisorsNearZero) {
    CheckRun("BarDiv", {"a value near zero blanks the whole bar and is remembered",
                        "",
                        {{4e-100, 4e-100, 1e-100, U, -1e-100}, {8, 8, 8, 8, 9e-101}, {8, 8, 8, 6, U}, {U, U, U, U, 2}},
                        {-4, -1, -4, -2, U, U, U, U, U, U, U, U, 4, 4, 4, 3},
                        nullptr,
                        {0, 0, 0, 2e-100, 0},
                        1});
    CheckRun("SBarDiv", {"a price near zero blanks its part, and high and low are forgotten together",
                         "",
                         {{24, 6, 12, -9e-101, 3}, {24, 8, U, 8, U}, {24, 9e-101, 12, 8, U}, {0, 6, 0, 8, 1e-100}},
                         {4, U, U, 8, U, U, U, U, U, 3, 2, 8, 0, U, U, 0},
                         nullptr,
                         {1, 1, 1, 1, 1},
                         1});
}

}  // namespace
}  // namespace sarvane::test
