#include "support/operator_driver.h"

#include <gtest/gtest.h>
#include <random>

namespace sarvane::test {

const DescriptionCase descriptions[] = {
    {"ratios are stored as lengths, by kind", "1 1 2 10 0.25 0.25",
     "StochX_( %s, 1, 1, 2, 10.000000, 4.000000, 7.000000) | in 0H 0L 0 | out curve1:1 curve2:1 | "
     "par 1 1 2 10.000000 4.000000 7.000000 | back 200"},
    {"lengths from 1 on stay as they are", "1 1 2 10 1 1.25",
     "StochX_( %s, 1, 1, 2, 10.000000, 1.000000, 1.250000) | in 0H 0L 0 | out curve1:1 curve2:1 | "
     "par 1 1 2 10.000000 1.000000 1.250000 | back 200"},
    {"a text that is no number is converted as a ratio too", "2 0 1 300 x x",
     "StochX_( %s, 2, 0, 1, 300.000000, -1.000000, -0.000000) | in 0H 0L 0 | out curve1:1 curve2:1 | "
     "par 2 0 1 300.000000 -1.000000 -0.000000 | back 300"},
    {"a fast length of -1 configures nothing", "1 1 - 7 -1",
     "StochX_( %s, 1, 1, -2147483648, 7.000000, -1.000000, -2147483648.000000) | in 0H 0L 0 | "
     "out curve1:1 curve2:1 | par 1 1 -2147483648 7.000000 -1.000000 -2147483648.000000 | back 7"},
};

// Ranges and lengths are such that every quotient is exact.
const RunCase runs[] = {
    {"simple averages of ratios",
     "1 0 0 1 2 2",
     {{8, 0, 1}, {8, 0, 2}, {8, 0, 4}, {8, 0, 3}, {18, 10, 14}},
     {2, U, 4, 2, 13, 14}},
    {"simple averages of three bars", "1 0 2 1 3 1", {{8, 0, 6}, {8, 0, 3}, {8, 0, 0}, {8, 0, 3}}, {1.5, 6}},
    {"simple averages of parts",
     "2 0 0 1 2 2",
     {{8, 0, 1}, {8, 0, 2}, {8, 0, 4}, {8, 0, 3}, {24, 0, 14}},
     {2, U, 4, 2, 9, 11}},
    {"exponential averages, ranges of two bars and gaps",
     "1 2 2 2 3 3",
     {{9, 9, U}, {6, 0, 4}, {8, 0, 2}, {9, U, 9}, {16, 8, 10}},
     {4, 4, 3, 4, 5, 7},
     nullptr,
     {8, 1, 4}},
    {"a flat bar has no raw ratio, and an average of one bar never meets its input",
     "1 0 2 1 1 3",
     {{8, 8, 8}, {8, 0, 4}, {8, 0, 2}, {8, 8, 8}},
     {4, 8, 9}},
    {"entries are counted from the newest, also if the history holds more",
     "2 0 2 1 2 1",
     {{8, 0, 1}, {0, 8, 6}, {8, 0, 4}, {8, 0, 2}, {8, 0, 6}},
     {2, 4}},
    {"flat bars leave the first output without enough ratios",
     "2 0 2 1 2 1",
     {{8, 8, 8}, {8, 0, 4}, {8, 0, 2}, {8, 0, 6}},
     {4, 2, 4}},
    {"without kinds both lines are the raw ratio", "1 - - 1 3 3", {{8, 0, 4}, {8, 0, 8}, {8, 0, 0}}, {4, 4, 8, 8}},
    {"without a slow length the fast line gives nothing either", "1 2 2 1 3", {{8, 0, 4}, {8, 0, 4}}, {}},
    {"a length beyond an int is never reached", "1 0 0 1 3e9 3e9", {{8, 0, 4}, {8, 0, 4}}, {}},
};

TEST(StochXOp, Cases) { CheckCases("StochXOp", descriptions, runs); }

// A bar that closes at the second output puts the fast line on the slow line. On the next bar the two outputs are then
// the same.
TEST(StochXOp, LinesMeetAtTheSecondOutput) {
    std::mt19937 random(1);
    for (const char* kinds :
         {"1 1 0", "1 1 1", "1 1 2", "1 2 0", "1 2 1", "1 2 2", "2 1 0", "2 1 1", "2 1 2", "2 2 0", "2 2 1", "2 2 2"}) {
        OperatorDriver op("StochXOp");
        op.SetArguments(kinds + std::string(" 1 4.5 2"));
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

}  // namespace sarvane::test
