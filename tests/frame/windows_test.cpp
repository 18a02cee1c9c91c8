#include "frame/extreme_place.h"
#include "frame/history_ring.h"
#include "frame/ordered_window.h"

#include <algorithm>
#include <cmath>
#include <compare>
#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <random>

namespace sarvane {
namespace {

TEST(Windows, MatchDeques) {
    std::mt19937 random(1);
    HistoryRing windows[3];
    std::deque<double> expected[3];
    for (int step = 0; step < 50000; ++step) {
        const auto target = random() % 3, source = random() % 3, action = random() % 64;
        HistoryRing &window = windows[target], &other = windows[source];
        std::deque<double>& contents = expected[target];
        if (action < 30) {
            contents.push_back(step);
            window.Push(step);
        } else if (action < 60) {
            window.PopFront();
            if (!contents.empty()) contents.pop_front();
        } else if (action < 63) {
            window = step % 2 ? other : HistoryRing(other);
            contents = expected[source];
        } else {
            step % 2 ? window.Clear() : void(window = HistoryRing());
            contents.clear();
        }
        for (int n = 0; n < 3; ++n) {
            std::deque<double> held;
            for (int i = 0; i < windows[n].Size(); ++i) {
                held.push_back(windows[n][i]);
                ASSERT_EQ(&windows[n][i], &windows[n].Newest(windows[n].Size() - 1 - i)) << step;
            }
            ASSERT_EQ(held, expected[n]) << step;
            const int skipped = step % 3 % (windows[n].Size() + 1), count = windows[n].Size() - skipped;
            std::deque<double> oldestFirst, newestFirst;  // without the ends that are skipped
            windows[n].OldestFirst(
                count, [&](double value) { oldestFirst.push_back(value); }, skipped);
            windows[n].NewestFirst(
                count, [&](double value) { newestFirst.push_front(value); }, skipped);
            ASSERT_EQ(oldestFirst, std::deque(held.begin() + skipped, held.end())) << step;
            ASSERT_EQ(newestFirst, std::deque(held.begin(), held.end() - skipped)) << step;
        }
    }
}

TEST(Windows, AreHeldToALength) {
    HistoryRing full, longer;
    for (const double element : {1, 2, 3}) full.Push(element);
    const auto isHeld = [](const HistoryRing& window, double oldest, int size) {
        return window[0] == oldest && window.Newest() == 4 && window.Size() == size;
    };
    PushWithin(longer = full, 4.0, 3);
    EXPECT_TRUE(isHeld(longer, 2, 3));
    PushWithin(longer = full, 4.0, 1);
    EXPECT_TRUE(isHeld(longer, 2, 3)) << "one element goes, however many there are too many";
    PushReplacing(longer = full, 4.0, 3);
    EXPECT_TRUE(isHeld(longer, 2, 3));
    PushReplacing(longer = full, 4.0, 2);
    EXPECT_TRUE(isHeld(longer, 1, 4)) << "a longer window loses none";
}

// Windows that grow, slide and start over, whose elements are often equal and now and then NaNs.
TEST(ExtremePlace, IsThatOfASearch) {
    std::mt19937 random(1);
    HistoryRing window;
    ExtremePlace place;
    for (int step = 0; step < 50000; ++step) {
        const auto action = random() % 64;
        PushWithin(window, random() % 8 ? static_cast<double>(random() % 20) : NAN, action < 40 ? 12 : 13);
        if (action == 63) {
            window.PopFront();
            place.Forget();
            if (window.Size() == 0) continue;
        }
        int expected = 0;  // index of the extreme
        for (int i = 1; i < window.Size(); ++i) expected = window[i] > window[expected] ? i : expected;
        const auto hasOrder = [](double element) { return !std::isnan(element); };
        ASSERT_EQ(place.Follow(window, std::greater<>(), hasOrder), window.Size() - 1 - expected) << step;
    }
}

// A window that grows and slides, whose order is that of part of it at times, and which goes back to an earlier state or
// to a changed one. Some values are equal, or zeros of both signs.
TEST(OrderedWindow, IsThatOfASort) {
    struct State {
        HistoryRing window;
        OrderedWindow::Version version = OrderedWindow::Unknown;
    };
    std::mt19937 random(1);
    State live, snapshots[3];
    OrderedWindow order;
    for (int step = 0; step < 50000; ++step) {
        const auto action = random() % 64;
        if (action < 32) live = snapshots[action % 4 % 3];
        if (action % 4 == 0) snapshots[action / 8 % 3] = live;
        if (action == 63) live = {.window = {}, .version = OrderedWindow::Unknown};
        const double value = random() % 8 ? static_cast<double>(random() % 40) - 20.0 : -0.0;
        std::optional<double> dropped;
        if (live.window.Size() >= 12) dropped = live.window[0];
        PushWithin(live.window, value, 12);
        const int left = step % 700 < 600 ? 0 : static_cast<int>(random() % 3);  // newest values that are left out
        live.version = order.Follow(live.version, live.window, std::max(live.window.Size() - left, 0), dropped);
        if (action < 8) live.version = order.Order((live = snapshots[0]).version, live.window);
        std::vector<double> expected, found;
        for (int i = 0; i < order.Size(); ++i) {
            expected.push_back(live.window[i]);
            found.push_back(order[i]);
        }
        std::ranges::sort(expected, [](double a, double b) { return std::strong_order(a, b) < 0; });
        ASSERT_TRUE(std::ranges::equal(found, expected, [](double a, double b) {
            return std::strong_order(a, b) == 0;
        })) << step;
    }
}

}  // namespace
}  // namespace sarvane
