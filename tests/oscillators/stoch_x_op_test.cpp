#include "support/operator_driver.h"

#include <gtest/gtest.h>
#include <random>

namespace sarvane::test {
namespace {

const DescriptionCase descriptions[] = {
    {"ratios are stored as lengths, by kind",
     {u"1", u"1", u"2", u"10", u"0.25", u"0.25"},
     "StochX_( %s, 1, 1, 2, 10.000000, 4.000000, 7.000000) | in 0H 0L 0 | out curve1:1 curve2:1 | "
     "par 1 1 2 10.000000 4.000000 7.000000 | back 200"},
    {"what is no number is taken for a ratio too",
     {u"2", u"0", u"1", u"300", u"x", u"x"},
     "StochX_( %s, 2, 0, 1, 300.000000, -1.000000, -0.000000) | in 0H 0L 0 | out curve1:1 curve2:1 | "
     "par 2 0 1 300.000000 -1.000000 -0.000000 | back 300"},
    {"a fast length of -1 configures nothing",
     {u"1", u"1", u"", u"7", u"-1"},
     "StochX_( %s, 1, 1, -2147483648, 7.000000, -1.000000, -2147483648.000000) | in 0H 0L 0 | "
     "out curve1:1 curve2:1 | par 1 1 -2147483648 7.000000 -1.000000 -2147483648.000000 | back 7"},
};

// Ranges and lengths are such that every quotient is exact.
const RunCase runs[] = {
    {"simple averages of raw ratios",
     {u"1", u"0", u"0", u"1", u"2", u"2"},
     {{8, 0, 1}, {8, 0, 2}, {8, 0, 4}, {8, 0, 3}, {18, 10, 14}},
     {U, U, U, U, 2, U, 4, 2, 13, 14}},
    {"simple averages of positions and ranges",
     {u"2", u"0", u"0", u"1", u"2", u"2"},
     {{8, 0, 1}, {8, 0, 2}, {8, 0, 4}, {8, 0, 3}, {24, 0, 14}},
     {U, U, U, U, 2, U, 4, 2, 9, 11}},
    {"exponential averages over a range of two bars; an incomplete bar repeats the seed or the bar before",
     {u"1", u"2", u"2", u"2", u"3", u"3"},
     {{9, 9, U}, {6, 0, 4}, {8, 0, 2}, {9, U, 9}, {16, 8, 10}},
     {U, U, U, U, 4, 4, 3, 4, 5, 7},
     nullptr,
     {8, 1, 4}},
    {"smoothed averages of positions and ranges",
     {u"2", u"1", u"1", u"1", u"2", u"2"},
     {{8, 0, 4}, {8, 0, 2}, {8, 0, 8}, {16, 8, 10}},
     {U, U, U, U, 3, U, 13.5, 11}},
    {"flat bars have no raw ratio, and an average of one bar leaves no level to meet",
     {u"1", u"0", u"2", u"1", u"1", u"3"},
     {{8, 8, 8}, {8, 0, 4}, {8, 0, 2}, {8, 8, 8}},
     {U, U, U, U, U, 4, 8, 9}},
    {"a history that has outgrown its window is read from its newest end",
     {u"2", u"0", u"2", u"1", u"2", u"1"},
     {{8, 0, 1}, {0, 8, 6}, {8, 0, 4}, {8, 0, 2}, {8, 0, 6}},
     {U, U, U, U, U, U, U, U, 2, 4}},
    {"without a slow length the fast line gives nothing either",
     {u"1", u"2", u"2", u"1", u"3"},
     {{8, 0, 4}, {8, 0, 4}},
     {U, U, U, U}},
    {"a length beyond an int is never reached",
     {u"1", u"0", u"0", u"1", u"3e9", u"3e9"},
     {{8, 0, 4}, {8, 0, 4}},
     {U, U, U, U}},
};

TEST(StochXOp, Describes) {
    for (const DescriptionCase& expected : descriptions) CheckDescription("StochXOp", expected);
}

TEST(StochXOp, Runs) {
    for (const RunCase& run : runs) CheckRun("StochXOp", run);
}

// A close at the second output puts the fast line on the slow one, so that the next bar finds one level for both.
TEST(StochXOp, LinesMeetAtTheSecondOutput) {
    std::mt19937 random(1);
    for (const char16_t* ratioMode : {u"1", u"2"})
        for (const char16_t* fastKind : {u"1", u"2"})
            for (const char16_t* slowKind : {u"0", u"1", u"2"}) {
                OperatorDriver op("StochXOp");
                op.SetArguments({ratioMode, fastKind, slowKind, u"1", u"4.5", u"2"});
                op.Reset();
                for (int bar = 0; bar < 10; ++bar) op.Step({9, 2, 2 + static_cast<double>(random() % 8)});
                op->SaveState(1);
                const double close = op.Step({9, 2, 3})[1];
                op->RestoreState(1);
                op.Step({9, 2, close});
                const std::vector<double> met = op.Step({9, 2, 8});
                EXPECT_GT(met[0], 2);
                EXPECT_NEAR(met[0], met[1], 1e-14);  // rounding of prices up to 9
            }
}

}  // namespace
}  // namespace sarvane::test
