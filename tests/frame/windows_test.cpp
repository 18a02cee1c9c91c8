#include "frame/history_ring.h"
#include "frame/plain_ring.h"
#include "frame/sliding_array.h"

#include <deque>
#include <gtest/gtest.h>
#include <random>

namespace sarvane {
namespace {

template <class Window>
class Windows : public testing::Test {};
using Types = testing::Types<HistoryRing, PlainRing, SlidingArray<double>>;
TYPED_TEST_SUITE(Windows, Types);

TYPED_TEST(Windows, MatchDeques) {
    std::mt19937 random(1);
    TypeParam windows[3];
    std::deque<double> expected[3];
    for (int step = 0; step < 50000; ++step) {
        const auto target = random() % 3, source = random() % 3, action = random() % 64;
        TypeParam &window = windows[target], &other = windows[source];
        std::deque<double>& contents = expected[target];
        if (action < 30) {
            contents.push_back(step);
            window.Push(step);
        } else if (action < 60) {
            window.PopFront();
            if (!contents.empty()) contents.pop_front();
        } else if (action < 63) {
            window = step % 2 ? other : TypeParam(other);
            contents = expected[source];
        } else {
            step % 2 ? window.Clear() : void(window = TypeParam());
            contents.clear();
        }
        for (int n = 0; n < 3; ++n) {
            std::deque<double> held;
            for (int i = 0; i < windows[n].Size(); ++i) {
                held.push_back(windows[n][i]);
                ASSERT_EQ(&windows[n][i], &windows[n].Newest(windows[n].Size() - 1 - i)) << step;
            }
            ASSERT_EQ(held, expected[n]) << step;
        }
    }
}

TEST(HistoryRing, CapacitiesFollowTheElementsWanted) {
    const std::pair<long long, int> capacities[] = {
        {0, 2}, {1, 4}, {2, 4}, {3, 8}, {6, 8}, {7, 16}, {400, 512}, {-2147483648LL, 2}, {1LL << 31, 0x10000000}};
    for (const auto& [elements, capacity] : capacities) EXPECT_EQ(HistoryRing(elements).Capacity(), capacity);
}

TEST(HistoryRing, SharesItsBufferWithOneOther) {
    const auto share = [](const HistoryRing& a, const HistoryRing& b) { return &a[0] == &b[0]; };
    HistoryRing first(2), second, third;
    EXPECT_EQ(third.Capacity(), 2);
    first.Push(1);
    second = first;
    third = second;
    EXPECT_TRUE(share(first, second) && !share(first, third)) << "a third ring gets a copy";
    for (double value : {2, 3, 4}) second.Push(value);
    EXPECT_TRUE(share(first, second)) << "the first one to write may do so";
    EXPECT_EQ(first.Capacity(), 16) << "and both go to a larger buffer";
    EXPECT_EQ(first.Size(), 1);
    first.Push(5);
    EXPECT_FALSE(share(first, second)) << "the other one leaves";
    EXPECT_EQ(first.Newest(), 5);
    first = second;
    first.Clear();
    EXPECT_EQ(first.Capacity(), 8) << "room for what it held";
    third.Reconfigure(2);
    EXPECT_TRUE(third.Size() == 0 && third.Capacity() == 4);
    EXPECT_EQ(second.Size(), 4);
    third = second;
    second = first;
    first = third;
    EXPECT_TRUE(share(first, third)) << "one that left makes room for another";

    HistoryRing behind(2);
    behind.Push(1);
    HistoryRing ahead = behind;
    ahead.PopFront();
    ahead.Push(2);
    ahead.PopFront();
    behind.Push(3);
    EXPECT_EQ(behind.Capacity(), 4) << "outside the shared buffer, nobody else's window is in the way";
}

}  // namespace
}  // namespace sarvane
