#pragma once

#include "bars/bar_time.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace sarvane::study {

// Rows of a file, by their numbers in it, in an order in which they make a series of bars.
struct RowOrder {
    // By the times, where a row with the time of an earlier one changes the bar of that.
    std::vector<std::size_t> rows;
    // Rows that are left out, each with the one whose time it lies before.
    std::vector<std::pair<std::size_t, std::size_t>> late;
    bool newestFirst = false;  // in the file, so that `rows` goes from its last row to its first
    std::size_t repeats = 0;   // rows with the time of an earlier one
};

// Times that mostly fall stand newest first. Otherwise a row may also have the time of an older bar than the last one, as
// a correction of it that was appended. With `sort` rows of any order are sorted; those with one time keep the order
// that they have in the file.
RowOrder OrderOf(const std::vector<BarTime>& times, bool sort);

// All rows of trades by their times. Those of one time keep their order, from the end of the file if the newest stands
// first.
std::vector<std::size_t> OrderOfTrades(const std::vector<BarTime>& times, bool& newestFirst);

}  // namespace sarvane::study
