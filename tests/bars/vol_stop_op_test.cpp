#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

using Bars = std::vector<std::vector<double>>;
const Bars widening = {{10, 11, 9, 10, U}, {10, 12, 8, 10, 0}, {10, 13, 7, 10, U}, {10, 11, 9, 10, U}};
const Bars rising = {{10, 11, 9, 10, U}, {12, 13, 11, 12, U}, {11, 13, 9, 11, U}};
const Bars gaps = {{U, 1, 1, 1, U}, {12, 13, 11, 12, U}, {9, U, 5, 20, U}};

Bars Swing(const std::vector<double>& signals) {
    Bars bars = {{9, 11, 9, 10}, {9, 12, 10, 11}, {9, 9, 7, 8}, {9, 8, 6, 7}, {9, 13, 11, 12}, {9, 13, 11, 12}};
    for (std::size_t i = 0; i < bars.size(); ++i) bars[i].push_back(signals[i]);
    return bars;
}

// `words` are multiplier, period, -, useTrueRange, noRatchet, fromExtreme, average, testClose, lag, priceKind,
// roundToStep and touchCounts; `outputs` holds short, long and active stop of each bar.
void Check(const char* fact, const char* words, const Bars& bars, const std::vector<double>& outputs) {
    CheckRun("VolStop", {fact, words, bars, outputs, nullptr, {10, 11, 9, 10, U}});
}

TEST(VolStopOp, Describes) {
    const std::string shape = " | in 0O 0H 0L 0C 3 | out curve1:1 curve2:1 curve3:1 | par ";
    OperatorDriver op("VolStop");
    EXPECT_EQ(op.Description(), "VolStop( %s,         1.0000000000, 3, %s, 0, 0, 0, Sim, 0, 1, 5)" + shape +
                                    "        1.0000000000 3 0 0 0 Sim 0 1 5 0 1 | back 400");
    op.SetArguments("-2.5 4 - 1 2 3 eXP 6 7 8 x 0");
    op.Set(7, "Sma");
    EXPECT_EQ(op.Description(), "VolStop( %s,        -2.5000000000, 4, %s, 1, 2, 3, Exp, 6, 7, 8)" + shape +
                                    "       -2.5000000000 4 1 2 3 Exp 6 7 8 1 0 | back 400");
}

TEST(VolStopOp, Averages) {
    Check("the lag comes on top of the average", "2 2", widening, {16, 4, 4, 20, 0, 0});
    Check("simple", "1 2 - - - - SIM - 0", widening, {13, 7, 7, 15, 5, 5, 14, 6, 6});
    Check("smoothed, from the mean before; both stops broken stay on", "1 2 - - - - Smo - 0", widening,
          {13, 7, 7, 12.5, 7.5, 7.5});
    Check("exponential", "1 3 - - - - exp - 0", widening, {12, 8, 8, 13, 7, 7, 14.5, 5.5, 5.5, 13.25, 6.75, 6.75});
    Check("the true range reaches to the close before", "1 1 - 1 - - - - 0", rising, {12, 8, 8, 15, 9, 9, 15, 7, 7});
    Check("and reaches up to a close above", "1 1 - 1 - - - - 0", {rising[0], {6, 7, 5, 6, U}}, {12, 8, 8, 11, 1, 1});
    Check("a gap in one price repeats the whole bar", "1 1 - - - - - - 0", gaps, {12, 8, 8, 14, 10, 10, 14, 10, 10});
}

TEST(VolStopOp, Switches) {
    Check("a broken stop shows once more and lets the other in", "1 1 - - 1 - - 1", Swing({U, U, 0, U, U, U}),
          {12, 8, 8, 13, 9, 9, 10, U, 10, 9, 5, 9, U, 10, 10});
    Check("a signal shows both and leaves the active one", "1 1 - - 0 - - 1", Swing({1, U, U, 1, -1, 0}),
          {12, 8, 8, 12, 9, 9, 10, 6, 10, 9, 6, 9, U, 10, 14});
    Check("stops ratchet, and a touch breaks", "1 1 - - 0 - - 1 0", rising, {12, 8, 8, 12, 10, 10, U, 10, 10});
    Check("any other number than 0 lets stops loosen", "1 1 - - -1 - - 1 0", rising, {12, 8, 8, 14, 10, 10, 15, 7, 7});
    Check("a touch does not break", "1 1 - - 0 - - 1 0 - - 0", rising, {12, 8, 8, 12, 10, 10, 12, 10, 10});
    Check("from the extremes", "1 1 - - - 1 - 1 0 - - 0", rising, {12, 8, 8, 12, 10, 10, 14, 8, 8});
}

TEST(VolStopOp, ReachesAheadUnlessItsLagIsZero) {
    for (const auto& [lag, expected] : {std::pair{"0", 0u}, {"1", 1u}, {"2", 1u}}) {
        OperatorDriver op("VolStop");
        op.Set(9, lag);
        uint first = 9, last = 9;
        EXPECT_EQ(op->GetOutputRange(0, 0, &first, &last), S_OK);
        EXPECT_EQ(first, expected) << lag;
    }
}

TEST(VolStopOp, StartsItsRangesOverWithANewPeriod) {
    OperatorDriver op("VolStop");
    op.SetArguments("1 1 - 1 - - - - 0");
    op.Step(rising[0]);
    op.Set(2, "1");
    ExpectSameBits(op.Step(rising[1]), {14, 10, 10}, "no close before: the range is 2, not 3");
}

TEST(VolStopOp, FormsNoStopWithoutUsableParameters) {
    for (const char* words : {"1 x", "1 0", "1 2147483647", "1 1 - - - - - - -1", "1 1 - - - - - - x",
                              "1 1 - - - - - - 2147483647", "1 1 - - - - - - 0 9"})
        Check(words, words, rising, std::vector<double>(9, U));
}

// With a multiplier of 0 a stop is the price itself.
TEST(VolStopOp, HangsFromAPrice) {
    const double first[] = {20, 24, 24, 16, 16, 18, 20, 58 / 3.0, 19.5};
    const double above[] = {22, 26, 26, 20, 18, 24, 23, 70 / 3.0, 23};
    const double below[] = {10, 12, 24, 8, 8, 11, 10, 31 / 3.0, 10.25};
    for (std::size_t kind = 0; kind < std::size(first); ++kind) {
        OperatorDriver op("VolStop");
        op.SetArguments("0 1 - - - - - - 0 " + std::to_string(kind));
        EXPECT_EQ(op.Step({20, 24, 16, 18, U})[2], first[kind]) << kind;
        EXPECT_EQ(op.Step({22, 26, 20, 24, U})[2], above[kind]) << kind;
        EXPECT_EQ(op.Step({10, 12, 8, 11, U})[2], below[kind]) << kind;
    }
}

TEST(VolStopOp, RoundsToThePriceStep) {
    // Without a step in the place of the first one, it is 1.
    const double steps[][4] = {{2, 0.25, 10.25, 10.5}, {1, 0.25, 10, 11}, {2, 0, U, U}, {2, -1, U, U}, {U, U, 10, 11}};
    for (const auto& [count, step, below, above] : steps) {
        OperatorDriver op("VolStop");
        op.SetArguments("0 1 - - - - - 1 0 - 1");
        if (!IsUndefined(count)) op.Bars()->SetPriceStep(static_cast<int>(count), &step);
        ExpectSameBits(op.Step({10, 11, 9, 10.3, U}), {above, below, below}, std::to_string(step));
    }
}

TEST(VolStopOp, KeepsTheSlotsUpToTheOneSavedLast) {
    OperatorDriver op("VolStop");
    op.SetArguments("1 1 - - - - - - 0");
    op.Step(rising[0]);
    op->SaveState(3);
    EXPECT_EQ(op->RestoreState(3), S_OK);
    op->SaveState(1);
    EXPECT_EQ(op->RestoreState(3), S_FALSE);
    op.Reset();
    EXPECT_EQ(op->RestoreState(1), S_OK);
    EXPECT_EQ(op->RestoreState(2), S_FALSE);
    ExpectSameBits(op.Step({U, U, U, U, U}), {U, U, U}, "slot 1 is fresh");
}

}  // namespace
}  // namespace sarvane::test
