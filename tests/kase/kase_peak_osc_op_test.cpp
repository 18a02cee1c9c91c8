#include "support/operator_driver.h"
#include "support/random_bars.h"

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

// A bar with a label, and what it shows: rounded values of the turn and of both thresholds.
struct Mark {
    int bar;
    const char* label;
    double turn, outer, inner;
};

struct MarkCase {
    const char* fact;
    const char* arguments;
    std::vector<Mark> marks;
    int zeroClose = -1;  // bar of a close of 0
};

const MarkCase markCases[] = {
    {"turns beyond 100 alone, or beyond their own level, too",
     "8 4 2",
     {{101, "PL", -191, -318, -100},
      {120, "PL", 296, 339, 100},
      {123, "PL", -360, -360, -100},
      {163, "PG", 519, 404, 100}}},
    {"a level below 100 is the inner one",
     "4 8 -1",
     {{101, "PG", -191, -100, -61}, {120, "PG", 296, 100, 83}, {123, "PG", -360, -100, -87}, {163, "PG", 519, 100, 4}}},
    {"lags below 1 give no run",
     "-2147483647 8 2",
     {{101, "PL", -191, -346, -100},
      {120, "PL", 296, -367, -100},
      {123, "PG", -664, -451, -100},
      {162, "PG", 680, 519, 100}}},
    {"a close of 0 ends the measuring", "4 8 -1", {{101, "PG", -191, -100, -61}}, 110},
};

TEST(KasePeakOscOp, Cases) { CheckCases("KasePeakOsc", descriptions, runs); }

// A label is the number 1 with its text behind it.
double Label(const char* text) {
    std::uint64_t bits = 1;
    for (int shift = 8; *text; ++text, shift += 8) bits |= static_cast<std::uint64_t>(*text) << shift;
    return std::bit_cast<double>(bits);
}

TEST(KasePeakOscOp, MarksTurns) {
    for (const auto& [fact, arguments, marks, zeroClose] : markCases) {
        OperatorDriver op("KasePeakOsc");
        op.SetArguments(arguments);
        op.Reset();
        std::size_t found = 0;
        for (int bar = 0; bar < 181; ++bar) {
            std::vector<double> in = SwingingBar(bar);
            if (bar == zeroClose) in[2] = 0;
            const std::vector<double> out = op.Step(in);
            if (out[7] == 0.0) continue;
            ASSERT_LT(found, marks.size()) << fact << ", bar " << bar;
            const auto& [expectedBar, label, turn, outer, inner] = marks[found++];
            EXPECT_EQ(bar, expectedBar) << fact;
            EXPECT_EQ(out[7], Label(label)) << fact << ", bar " << bar;
            EXPECT_EQ(std::round(out[2] == U ? out[4] : out[2]), turn) << fact << ", bar " << bar;
            EXPECT_EQ(std::round(out[1]), outer) << fact << ", bar " << bar;
            EXPECT_EQ(std::round(out[3]), inner) << fact << ", bar " << bar;
        }
        EXPECT_EQ(found, marks.size()) << fact;
    }
}

struct PulseCase {
    const char* fact;
    double high, low;
    double turn;
    int output;  // which shows the turn
    const char* label;
};

const PulseCase pulseCases[] = {
    {"a peak below 100", 16, 1, 53.7, 4, "PL"},
    {"a peak above 100", 256, 1, 107.3, 2, "PG"},
    {"a trough above -100", 1, 1 / 16.0, -53.7, 4, "PL"},
    {"a trough below -100", 1, 1 / 256.0, -107.3, 2, "PG"},
};

// The close swings between 1 and 2, so that its returns of ln 2 keep a volatility of ln 2 * sqrt(80 / 81). High and low
// are 1 but on two bars. There price runs one way by ln 16 or ln 256, the average of three bars takes a third of that,
// and the oscillator is 40 * 4 / 3 / sqrt(80 / 81) = 53.7 or twice that on both bars, and 0 on the next.
TEST(KasePeakOscOp, MarksAFlatTurn) {
    for (const auto& [fact, high, low, turn, output, label] : pulseCases) {
        OperatorDriver op("KasePeakOsc");
        op.SetArguments("1 1 0");
        op.Reset();
        std::vector<std::vector<double>> outs;
        for (int bar = 0; bar < 103; ++bar) {
            const bool isPulse = bar >= 100 && bar < 102;
            outs.push_back(op.Step({isPulse ? high : 1.0, isPulse ? low : 1.0, bar % 2 + 1.0}));
        }
        EXPECT_NEAR(outs[100][0], turn, 0.05) << fact;
        EXPECT_EQ(outs[101][0], outs[100][0]) << fact;
        EXPECT_EQ(outs[102][0], 0.0) << fact;
        EXPECT_EQ(outs[101][7], 0.0) << fact << ": not yet";
        EXPECT_EQ(outs[102][static_cast<std::size_t>(output)], outs[101][0]) << fact;
        EXPECT_EQ(outs[102][static_cast<std::size_t>(6 - output)], U) << fact;
        EXPECT_EQ(outs[102][7], Label(label)) << fact;
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

// Quotients of prices are the same in any currency. Prices beyond 1e100 take another path to the longest runs.
TEST(KasePeakOscOp, IsTheSameForHugePrices) {
    RandomBars random(1);
    OperatorDriver op("KasePeakOsc"), huge("KasePeakOsc");
    for (OperatorDriver* driver : {&op, &huge}) {
        driver->SetArguments("12 2 1");
        driver->Reset();
    }
    double price = 1000.0;
    for (int bar = 0; bar < 400; ++bar) {
        price *= 0.95 + random.Unit() * 0.1;
        const double high = price * (1.0 + random.Unit() * 0.02), low = price * (1.0 - random.Unit() * 0.02);
        std::vector<double> out = op.Step({high, low, price});
        std::vector<double> other = huge.Step({high * 0x1p400, low * 0x1p400, price * 0x1p400});
        out.resize(5), other.resize(5);
        ExpectSameBits(other, out, "bar " + std::to_string(bar));
    }
}

}  // namespace
}  // namespace sarvane::test
