#include "support/operator_driver.h"

#include <bit>
#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

const DescriptionCase descriptions[] = {
    {"a span beyond all other steps", "- 60",
     "KaseCCSS( %s) | in 0H 0L 0C | out integer1:3 integer2:3 integer3:3 integer4:3 integer5:3 integer6:3 integer7:3 "
     "integer8:3 high:1 low:1 label1:1 label2:1 label3:1 label4:1 label5:1 label6:1 | par 9 60 | back 540"},
};

const RunCase runs[] = {
    {"a seeded close is enough for votes, and a gap repeats the whole bar",
     "",
     {{U, 5, U}, {9, 5, 7}, {10, U, 8}},
     {0, 0, 0, 0, 0, 0, 0, 0, U, 6, U, U, U, U, U, U, 0, 0, 0, 0, 0, 0, 0, 0,
      9, 5, U, U, U, U, U, U, 0, 0, 0, 0, 0, 0, 0, 0, 9, 5, U, U, U, U, U, U},
     nullptr,
     {U, 6, 7}},
    {"a lag below 1 gives nothing", "9 0", {{9, 5, 7}}, {}},
};

// Bars of a range of 100 that move by `step`, with the close at a share of the range.
struct Stretch {
    int bars;
    double step;
    double close;
};

using Votes = std::vector<int>;    // as in the outputs: three trend, three hook, one reversal, one disagreement vote
using Signals = std::vector<int>;  // 1, 2 and 3: 1 for a label up, -1 for a label down

struct BoardCase {
    const char* fact;
    const char* arguments;
    std::vector<Stretch> path;
    Votes votes;  // on the last bar of the path
    Signals signals;
};

std::vector<Stretch> RiseAndFall(int bars) { return {{40, 10, 0.05}, {8, 10, 0.95}, {bars, -10, 0.1}}; }
std::vector<Stretch> FallAndRise(int bars) { return {{40, -10, 0.95}, {8, -10, 0.05}, {bars, 10, 0.9}}; }

const BoardCase boardCases[] = {
    {"in a lasting rise fast and histogram go with slow", "", {{38, 10, 0.95}}, {0, 1, 1, 0, 0, 0, 0, 0}, {1, 0, 0}},
    {"but a signal skips the next bar", "", {{39, 10, 0.95}}, {0, 1, 1, 0, 0, 0, 0, 0}, {0, 0, 0}},
    {"a flat close has neither momentum nor histogram", "", {{40, 0, 0.5}}, {0, -1, 0, 0, 0, 0, 0, 0}, {0, 0, 0}},
    {"fast falls ahead of slow", "", RiseAndFall(1), {0, 0, 0, 0, 0, 0, 0, -1}, {0, 0, 0}},
    {"at the hook, one bar down confirms no signal", "", RiseAndFall(2), {0, 0, 0, -1, -1, -1, 0, -1}, {0, 0, 0}},
    {"two bars down confirm signal 2", "", RiseAndFall(3), {0, 0, 0, -1, -1, -1, 0, -1}, {0, -1, 0}},
    {"three bars down confirm signal 3", "", RiseAndFall(4), {0, 0, 0, -1, -1, -1, 0, -1}, {0, 0, -1}},
    {"slow follows", "", RiseAndFall(8), {-1, -1, -1, 0, 0, 0, 0, 0}, {-1, 0, 0}},
    {"fast rises ahead of slow", "", FallAndRise(1), {0, 0, 0, 0, 0, 0, 0, 1}, {0, 0, 0}},
    {"at the hook, one bar up confirms no signal", "", FallAndRise(2), {0, 0, 0, 1, 1, 1, 0, 1}, {0, 0, 0}},
    {"two bars up confirm signal 2", "", FallAndRise(3), {0, 0, 0, 1, 1, 1, 0, 1}, {0, 1, 0}},
    {"three bars up confirm signal 3", "", FallAndRise(4), {0, 0, 0, 1, 1, 1, 0, 1}, {0, 0, 1}},
    {"slow follows", "", FallAndRise(8), {1, 1, 1, 0, 0, 0, 0, 0}, {1, 0, 0}},
    {"still highs and lows confirm both ways",
     "",
     {{40, 1, 0.5}, {10, 0, 0.9}, {1, 0, 0.1}},
     {0, 0, 0, -1, -1, -1, 0, -1},
     {0, -1, -1}},
    {"a bottom hook against all else is a reversal",
     "",
     {{40, 0, 0.95}, {3, -20, 0.05}, {3, -20, 0.4}},
     {-1, -1, -1, 0, 0, 0, 1, 0},
     {0, 0, 0}},
    {"a top hook, too", "", {{40, -10, 0.5}, {3, 20, 0.95}, {2, 10, 0.1}}, {1, 1, 1, 0, 0, 0, -1, 0}, {0, 0, 0}},
    {"a span of several bars",
     "2 3",
     {{40, 10, 0.95}, {6, -10, 0.1}, {3, 10, 0.8}},
     {-1, 0, -1, 0, 1, 0, 0, 1},
     {0, 1, 0}},
    {"and some bars later", "2 3", {{40, 10, 0.95}, {6, -10, 0.1}, {4, 10, 0.8}}, {0, 0, -1, 1, 1, 0, 0, 1}, {0, 0, 1}},
};

Votes VotesOf(const std::vector<double>& out) { return {out.begin(), out.begin() + 8}; }

// A label is its number, 1 up and 2 down, with the digit of its signal behind it.
Signals SignalsOf(const std::vector<double>& out) {
    Signals signals;
    for (std::size_t i = 0; i < 3; ++i) {
        const auto label = [i](std::size_t number) { return std::bit_cast<double>(('1' + i) << 8 | number); };
        const double up = out[10 + 2 * i], down = out[11 + 2 * i];
        EXPECT_TRUE((up == U || up == label(1)) && (down == U || down == label(2)));
        signals.push_back((up != U) - (down != U));
    }
    return signals;
}

// Bars from 0 to 100 on which the range of the slow stochastic is a single bar, so that its raw value is the close. After
// 40 closes at `before` both lines of each stochastic stand there. Each new close enters the first blend by 1/2 and the
// second by 1/6, for as many bars as the lag of 8, and the smoothing spreads it over four bars as 1/6, 2/6, 2/6, 1/6.
// So after five closes at `then`:
//
//     slow lines: before + rise / 2 and before + rise / 6, which is a lead of rise / 3      rise = then - before
//     a further close at c moves the first line by (c - then) / 12, a second such close by (c - then) / 4 in all
std::vector<double> LastBoard(double before, double then, const std::vector<double>& closes) {
    OperatorDriver op("KaseCCSS");
    op.SetArguments("x 8");
    op.Reset();
    for (int bar = 0; bar < 40; ++bar) op.Step({100, 0, before});
    std::vector<double> out;
    for (int bar = 0; bar < 5; ++bar) out = op.Step({100, 0, then});
    for (const double close : closes) out = op.Step({100, 0, close});
    return out;
}

struct HookCase {
    const char* fact;
    double before, then;
    std::vector<double> closes;
    int hook;
};

const HookCase hookCases[] = {
    {"a turn from 77.6, on the bar after a lead of 11.6", 60.2, 95, {89}, -1},
    {"the lead was 11.4", 60.8, 95, {89}, 0},
    {"no turn", 60.2, 95, {96}, 0},
    {"a turn from 75.7 to 75.2", 58.3, 93.1, {87.1}, -1},
    {"a turn from 75.3 to 74.8", 57.9, 92.7, {86.7}, 0},
    {"a turn by 4.1, two bars after a lead of 11.6", 32.6, 67.4, {51, 51}, -1},
    {"the lead was 11.4", 32.9, 67.1, {50.7, 50.7}, 0},
    {"a turn by 3.9", 32.6, 67.4, {51.8, 51.8}, 0},
};

// Which way all hook votes and the reversal vote go that are cast.
int HookOf(const Votes& votes) {
    for (std::size_t i = 3; i < 7; ++i) {
        if (votes[i] != 0) return votes[i];
    }
    return 0;
}

struct DirectionCase {
    const char* fact;
    double before, then;
    bool slowRises;
};

const DirectionCase directionCases[] = {
    {"in the middle, 45 above 41.7", 40, 50, true},
    {"in the middle, 45 below 48.3", 50, 40, false},
    {"overbought, 94 little below 95.9", 96.8, 91.2, true},
    {"overbought, 94.1 well below 96.1", 97.1, 91, false},
    {"hardly overbought, 85.2 little below 86.2", 86.7, 83.7, true},
    {"not overbought, 84.8 little below 85.8", 86.3, 83.3, false},
    {"oversold, 3.2 well above 1.1", 0, 6.3, true},
    {"oversold, 3 little above 1.1", 0.15, 5.85, false},
    {"no longer oversold, 15.2 above 14.5", 14.2, 16.2, true},
    {"still oversold, 14.8 above 14.1", 13.8, 15.8, false},
};

TEST(KaseCCSSOp, Cases) { CheckCases("KaseCCSS", descriptions, runs); }

TEST(KaseCCSSOp, ShowsItsBoard) {
    for (const auto& [fact, arguments, path, votes, signals] : boardCases) {
        OperatorDriver op("KaseCCSS");
        op.SetArguments(arguments);
        op.Reset();
        std::vector<double> out;
        double low = 1000;
        for (const auto& [bars, step, close] : path) {
            for (int i = 0; i < bars; ++i, low += step) out = op.Step({low + 100, low, low + 100 * close});
        }
        EXPECT_EQ(VotesOf(out), votes) << fact;
        EXPECT_EQ(SignalsOf(out), signals) << fact;
    }
}

// Hooks at a bottom are those at a top, upside down.
TEST(KaseCCSSOp, FindsHooks) {
    for (const auto& [fact, before, then, closes, hook] : hookCases) {
        EXPECT_EQ(HookOf(VotesOf(LastBoard(before, then, closes))), hook) << fact;
        std::vector<double> reflected = closes;
        for (double& close : reflected) close = 100 - close;
        EXPECT_EQ(HookOf(VotesOf(LastBoard(100 - before, 100 - then, reflected))), -hook) << "reflected: " << fact;
    }
}

// Fast and slow are both in vote 2 if they agree, else in vote 8.
TEST(KaseCCSSOp, ReadsTheDirectionOfAStochastic) {
    for (const auto& [fact, before, then, slowRises] : directionCases) {
        const Votes votes = VotesOf(LastBoard(before, then, {}));
        EXPECT_EQ(votes[1] - votes[7], slowRises ? 1 : -1) << fact;
    }
}

}  // namespace
}  // namespace sarvane::test
