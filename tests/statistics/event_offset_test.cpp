#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {

const DescriptionCase descriptions[] = {
    {"what is no count leaves the default", "10001 0 Close",
     "EventOffsetOp (%s, 1, -1, 400) | in 0 | out integer1:3 | par 1 -1.000000 400.000000 | back 399"},
    {"nor is 0 one", "0 -1 0",
     "EventOffsetOp (%s, 1, -1, 400) | in 0 | out integer1:3 | par 1 -1.000000 400.000000 | back 399"},
    {"all set", "10000 3 5",
     "EventOffsetOp (%s, 10000, 3, 5) | in 0 | out integer1:3 | par 10000 3.000000 5.000000 | back 4"},
};

const RunCase runs[] = {
    {"bars since the last event, below zero", "", {{0}, {1}, {0}, {-2}, {1e-17}}, {-0.0, -1, -0.0, -1}},
    {"2^-52 is still zero",
     "",
     {{-1}, {0x1p-52}, {-0x1p-52}, {0x1.0000000000001p-52}, {0}, {-0x1.0000000000001p-52}},
     {-0.0, -1, -2, -0.0, -1, -0.0}},
    {"bars since the event before", "2", {{1}, {0}, {1}, {0}, {1}, {1}}, {-2, -3, -2, -1}},
    {"a gap is a bar without an event", "", {{U}, {3}, {U}, {U}}, {-0.0, -1, -2}},
    {"far events are out of sight", "- - 2", {{1}, {0}, {0}, {1}}, {-0.0, -1, U, -0.0}},
    {"a flag, known once an input came", "1 2", {{U}, {0}, {7}, {0}, {0}}, {0, 1, 1, 0}},
    {"a flag ends where events are out of sight", "1 3 2", {{7}, {0}, {0}}, {1, 1, 0}},
};

TEST(EventOffset, Cases) { CheckCases("EventOffsetOp", descriptions, runs); }

TEST(EventOffset, HasOneSnapshotFromTheStart) {
    OperatorDriver op("EventOffsetOp");
    op.Step({1});
    EXPECT_EQ(op->RestoreState(2), S_FALSE);
    EXPECT_EQ(op->RestoreState(1), S_OK);
    ExpectSameBits(op.Step({U}), {U}, "nothing has come");
}

}  // namespace sarvane::test
