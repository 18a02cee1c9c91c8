#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

const DescriptionCase descriptions[] = {
    {"what is no count leaves the default",
     {u"10001", u"0", u"Close"},
     "EventOffsetOp (%s, 1, -1, 400) | in 0 | out integer1:3 | par 1 -1.000000 400.000000 | back 399"},
    {"all set",
     {u"10000", u"3", u"5"},
     "EventOffsetOp (%s, 10000, 3, 5) | in 0 | out integer1:3 | par 10000 3.000000 5.000000 | back 4"},
};

const RunCase runs[] = {
    {"bars since the last event, below zero", {}, {{0}, {1}, {0}, {-2}, {1e-17}}, {U, -0.0, -1, -0.0, -1}},
    {"bars since the event before", {u"2"}, {{1}, {0}, {1}, {0}, {1}, {1}}, {U, U, -2, -3, -2, -1}},
    {"a gap is a bar without an event", {}, {{U}, {3}, {U}, {U}}, {U, -0.0, -1, -2}},
    {"far events are out of sight", {u"", u"", u"2"}, {{1}, {0}, {0}, {1}}, {-0.0, -1, U, -0.0}},
    {"a flag, known once an input came", {u"1", u"2"}, {{U}, {0}, {7}, {0}, {0}}, {U, 0, 1, 1, 0}},
    {"a flag ends where events are out of sight", {u"1", u"3", u"2"}, {{7}, {0}, {0}}, {1, 1, 0}},
};

TEST(EventOffset, Describes) {
    for (const DescriptionCase& expected : descriptions) CheckDescription("EventOffsetOp", expected);
}

TEST(EventOffset, Runs) {
    for (const RunCase& run : runs) CheckRun("EventOffsetOp", run);
}

TEST(EventOffset, HasOneSnapshotFromTheStart) {
    OperatorDriver op("EventOffsetOp");
    op.Step({1});
    EXPECT_EQ(op->RestoreState(2), S_FALSE);
    EXPECT_EQ(op->RestoreState(1), S_OK);
    ExpectSameBits(op.Step({U}), {U}, "nothing has come");
}

}  // namespace
}  // namespace sarvane::test
