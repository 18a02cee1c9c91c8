#include "support/operator_driver.h"

#include <bit>
#include <cmath>
#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

const DescriptionCase descriptions[] = {
    {"a missing factor binds all parameters", "4 8 Close",
     "KasePeakOsc( %s, 4, 8, -2147483648.000000) | in 0H 0L 0C 1 2 3 | out integer1:3 integer2:3 integer3:3 integer4:3 "
     "integer5:3 high:1 low:1 label1:1 | par | back 142"},
};

const RunCase runs[] = {
    {"an unset factor leaves the bar alone", "4 8", {{3, 1, 2, 4, 8, 2}}, {12345, 12345, 12345}},
    {"high and low pass, gaps too", "4 2147483647 2", {{3, U, 2}}, {3, U, 0}},
};

// A price that swings every 40 bars, with a ripple on it.
std::vector<double> SwingingBar(int bar) {
    const double price = 1000 + 10 * std::abs(bar % 40 - 20) * (1 + bar / 40 % 3) + bar * bar % 7;
    return {price + 3, price - 3, price};
}

struct MarkCase {
    const char* fact;
    const char* arguments;
    std::string marks;   // bar, label, turn and both bands, rounded
    int zeroClose = -1;  // bar of a close of 0
};

const MarkCase markCases[] = {
    {"turns beyond 100 or beyond their own level", "8 4 2",
     "101 PL -191 -318 -100; 120 PL 296 339 100; 123 PL -360 -360 -100; 163 PG 519 404 100"},
    {"a level below 100 is the inner one", "4 8 -1",
     "101 PG -191 -100 -61; 120 PG 296 100 83; 123 PG -360 -100 -87; 163 PG 519 100 4"},
    {"lags below 1 give no run", "-2147483647 8 2",
     "101 PL -191 -346 -100; 120 PL 296 -367 -100; 123 PG -664 -451 -100; 162 PG 680 519 100"},
    {"a close of 0 ends the measuring", "4 8 -1", "101 PG -191 -100 -61", 110},
};

// Of one bar, empty without one. A label is the number 1 with two letters behind it.
std::string MarkOf(int bar, const std::vector<double>& out) {
    if (out[7] == 0.0) return "";
    const auto label = std::bit_cast<std::uint64_t>(out[7]);
    std::string mark =
        "; " + std::to_string(bar) + " " + static_cast<char>(label >> 8) + static_cast<char>(label >> 16);
    for (const double value : {out[2] == U ? out[4] : out[2], out[1], out[3]})
        mark.append(" ").append(std::to_string(std::lround(value)));
    return mark;
}

TEST(KasePeakOscOp, Cases) { CheckCases("KasePeakOsc", descriptions, runs); }

TEST(KasePeakOscOp, MarksTurns) {
    for (const auto& [fact, arguments, expected, zeroClose] : markCases) {
        OperatorDriver op("KasePeakOsc");
        op.SetArguments(arguments);
        op.Reset();
        std::string marks;
        for (int bar = 0; bar < 181; ++bar) {
            std::vector<double> in = SwingingBar(bar);
            if (bar == zeroClose) in[2] = 0;
            marks += MarkOf(bar, op.Step(in));
        }
        EXPECT_EQ(marks, "; " + expected) << fact;
    }
}

// The close swings evenly, so that volatility is constant, and high and low stand still but for two bars on which price
// runs one way. The oscillator is then the same on both bars, and 0 on the next.
TEST(KasePeakOscOp, MarksAFlatTurn) {
    for (const bool isPeak : {true, false}) {
        OperatorDriver op("KasePeakOsc");
        op.SetArguments("1 1 0");
        op.Reset();
        std::vector<std::vector<double>> outs;
        for (int bar = 0; bar < 103; ++bar) {
            const bool isRun = bar == 100 || bar == 101;
            outs.push_back(op.Step({isRun && isPeak ? 16.0 : 1.0, isRun && !isPeak ? 1 / 16.0 : 1.0, bar % 2 + 1.0}));
        }
        const double turn = outs[100][0];
        EXPECT_NEAR(turn, isPeak ? 53.7 : -53.7, 0.1);
        EXPECT_EQ(outs[101][0], turn);
        EXPECT_EQ(outs[102][0], 0.0);
        EXPECT_EQ(outs[101][4], U) << "not yet";
        EXPECT_EQ(outs[102][4], turn) << "a turn may start flat";
    }
}

// Highs and lows of opposite signs leave no run at all, and an oscillator of 0 has its bands below it.
TEST(KasePeakOscOp, HasNoRunAcrossZero) {
    OperatorDriver op("KasePeakOsc");
    op.SetArguments("4 8 2");
    op.Reset();
    std::vector<double> out;
    for (int bar = 0; bar < 100; ++bar) out = op.Step({1000.0 + bar % 7, -1000.0 - bar % 5, 1000.0 + bar % 3});
    out.resize(5);
    ExpectSameBits(out, {0.0, -100, U, -0.0, U}, "bar 100");
}

}  // namespace
}  // namespace sarvane::test
