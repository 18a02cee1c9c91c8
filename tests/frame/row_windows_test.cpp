#include "frame/row_windows.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>

namespace sarvane::test {
namespace {

// Three windows with lengths that change, next to a deque each; some steps go back to a copy.
TEST(RowWindows, HoldWhatDequesHold) {
    struct Pair {
        RowWindows<std::array<double, 2>, 3> windows;
        std::array<std::deque<double>, 3> model;
    } live, saved;
    std::mt19937 random(5);
    std::array<int, 3> limits = {4, 0, 9};
    for (int step = 0; step < 4000; ++step) {
        const std::size_t one = random() % 3;
        if (random() % 40 == 0) limits[one] = static_cast<int>(random() % 50) - 1;
        if (random() % 60 == 0) {
            live.windows.Reconfigure(one, 5);
            live.model[one].clear();
        }
        if (random() % 15 == 0) saved = live;
        if (random() % 15 == 0) live = saved;
        live.windows.Push({step * 1.0, step * 2.0});
        live.windows.DropBeyond(limits);
        for (std::size_t i = 0; i < 3; ++i) {
            std::deque<double>& expected = live.model[i];
            expected.push_back(step);
            if (static_cast<int>(expected.size()) > limits[i]) expected.pop_front();
            std::deque<double> actual;
            live.windows.OldestFirst<true>(i, live.windows.Size(i), [&](const auto& row) { actual.push_back(row[0]); });
            ASSERT_EQ(actual, expected) << "window " << i << " in step " << step;
            if (expected.empty()) continue;
            ASSERT_EQ(live.windows.From(i)[0][1], 2.0 * expected[0]);
        }
    }
}

}  // namespace
}  // namespace sarvane::test
