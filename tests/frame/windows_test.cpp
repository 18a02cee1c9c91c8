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
    TypeParam windows[2];
    std::deque<double> expected[2];
    for (int step = 0; step < 20000; ++step) {
        const auto target = random() % 2, action = random() % 64;
        TypeParam &window = windows[target], &other = windows[1 - target];
        std::deque<double>& contents = expected[target];
        if (action < 36) {
            contents.push_back(step);
            window.Push(step);
        } else if (action < 61) {
            window.PopFront();
            if (!contents.empty()) contents.pop_front();
        } else if (action < 63) {
            window = step % 2 ? other : TypeParam(other);
            contents = expected[1 - target];
        } else {
            step % 2 ? window.Clear() : void(window = TypeParam());
            contents.clear();
        }
        ASSERT_EQ(window.Size(), std::ssize(contents)) << step;
        for (int i = 0; i < window.Size(); ++i) {
            ASSERT_EQ(window[i], contents[static_cast<std::size_t>(i)]) << step;
            ASSERT_EQ(&window[i], &window.Newest(window.Size() - 1 - i)) << step;
        }
    }
}

TEST(PlainRing, ChangesItsNewestElementAlone) {
    PlainRing ring(4);
    ring.Push(1);
    PlainRing copy = ring;
    ring.Newest() = 2;
    EXPECT_EQ(ring[0], 2);
    EXPECT_EQ(copy[0], 1);
    EXPECT_EQ(copy.Capacity(), 4);
}

}  // namespace
}  // namespace sarvane
