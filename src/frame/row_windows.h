#pragma once

#include "frame/history_ring.h"

#include <algorithm>
#include <array>

namespace sarvane {

// `Count` windows of the same rows, such as one for each column, in one ring. Every push makes all of them longer by one
// row; then each is cut to a length of its own. Windows are numbered from 0.
template <class Row, std::size_t Count>
class RowWindows {
public:
    int Size(std::size_t window) const { return sizes[window]; }
    // The row `bars` places before the newest.
    const Row& Newest(int bars = 0) const { return rows.Newest(bars); }
    // The rows of a window, from its oldest on.
    RingView<Row> From(std::size_t window) const { return rows.From(rows.Size() - sizes[window]); }
    // Calls `use` with each of the oldest `count` rows of a window, from the oldest on, except for the `skipped` oldest.
    template <bool InFours, class Use>
    void OldestFirst(std::size_t window, int count, Use use, int skipped = 0) const {
        rows.template OldestFirst<InFours>(count, use, rows.Size() - sizes[window] + skipped);
    }

    void Push(const Row& row) {
        rows.Push(row);
        for (int& size : sizes) ++size;
    }
    // After a push: drops the oldest row of each window that is longer than its limit.
    void DropBeyond(const std::array<int, Count>& limits) {
        int longest = 0;
        for (std::size_t i = 0; i < Count; ++i) longest = std::max(longest, sizes[i] -= sizes[i] > limits[i]);
        if (rows.Size() > longest) rows.PopFront();
    }

    void Clear() noexcept {
        sizes = {};
        rows.Clear();
    }
    // Empties one window, which will hold `elements` rows.
    void Reconfigure(std::size_t window, long long elements) noexcept {
        sizes[window] = 0;
        if (std::ranges::max(sizes) == 0) rows.Reconfigure(elements);
    }

private:
    BasicHistoryRing<Row> rows;  // as many as the longest window has, or more after one was emptied
    std::array<int, Count> sizes{};
};

}  // namespace sarvane
