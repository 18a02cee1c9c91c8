#include "support/operator_driver.h"

#include <cmath>
#include <gtest/gtest.h>

namespace sarvane::test {

const DescriptionCase descriptions[] = {
    {"a constant period", "5", "Trix( %s, 5) | in 0 | out curve1:3 | par 5 | back 400"},
    {"0 binds, but shows", "0", "Trix( %s, 0) | in 0 1 | out curve1:3 | par | back 400"},
    {"no period", "x", "Trix( %s) | in 0 1 | out curve1:3 | par | back 400"},
};

const double ln2 = std::log(2.0) * 1e6;

// A period of 1 smooths nothing; at 3 each of the three averages goes half the way.
const RunCase runs[] = {
    {"three averages in a row", "", {{1, 3}, {2, 3}, {2, 1}}, {0, ln2 / 8, ln2 - ln2 / 8}, "1"},
    {"a constant period waits for one value more", "3", {{1}, {1}, {U}, {2}}, {ln2 / 8}, "1"},
    {"a zero counts but changes nothing", "1", {{2}, {0}, {U}, {4}}, {0, ln2}, "1"},
    {"zeros count for the history depth and the period", "3", {{1}, {0}, {0}, {2}}, {ln2 / 8}, "4"},
    {"a negative value counts as minus the logarithm of its magnitude", "1", {{-2}, {2}, {-1}}, {2 * ln2, -ln2}, "1"},
    {"bars without a value count for the history depth", "", {{U, 1}, {1, 1}, {2, 1}}, {ln2}, "3"},
    {"but not for the wait of a constant period", "1", {{U}, {1}, {2}}, {ln2}, "1"},
    {"a gap in the period repeats the last good one", "", {{1, U}, {1, 3}, {2, U}}, {0, ln2 / 8}, "1"},
    {"on a bar with a period below 1 only the input is kept, for a gap",
     "",
     {{1, 1}, {4, 0.9}, {U, U}},
     {0, U, 2 * ln2},
     "1"},
    {"the seed fills a first gap", "", {{U, 1}, {1, 1}}, {0, -ln2}, "1", {2, 3}},
};

TEST(TrixOp, Cases) { CheckCases("Trix", descriptions, runs); }

// Bars that had an output don't count.
TEST(TrixOp, WaitsAgainForARaisedDepthOrPeriod) {
    OperatorDriver op("Trix");
    op.Set(-1, "1");
    op.Set(1, "1");
    op.Reset();
    for (const double expected : {U, 0.0, 0.0}) EXPECT_EQ(op.Step({1})[0], expected);
    op.Set(-1, "3");
    for (const double expected : {U, 0.0}) EXPECT_EQ(op.Step({1})[0], expected);
    op.Set(1, "3");
    for (const double expected : {U, 0.0}) EXPECT_EQ(op.Step({1})[0], expected);
}

}  // namespace sarvane::test
