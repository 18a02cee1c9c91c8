#include "bars/bar_order.h"

#include <algorithm>
#include <numeric>

namespace sarvane::study {
namespace {

bool MostlyFalls(const std::vector<BarTime>& times) {
    std::size_t falls = 0, rises = 0;
    for (std::size_t row = 1; row < times.size(); ++row) {
        falls += times[row] < times[row - 1];
        rises += times[row] > times[row - 1];
    }
    return falls > rises;
}

}  // namespace

std::vector<std::size_t> OrderOfTrades(const std::vector<BarTime>& times, bool& newestFirst) {
    std::vector<std::size_t> rows(times.size());
    std::iota(rows.begin(), rows.end(), std::size_t{0});
    newestFirst = MostlyFalls(times);
    if (newestFirst) std::ranges::reverse(rows);
    std::ranges::stable_sort(rows, {}, [&](std::size_t row) { return times[row]; });
    return rows;
}

RowOrder OrderOf(const std::vector<BarTime>& times, bool sort) {
    RowOrder order;
    std::vector<std::size_t> candidates(times.size());
    std::iota(candidates.begin(), candidates.end(), std::size_t{0});
    order.newestFirst = !sort && MostlyFalls(times);
    if (order.newestFirst) std::ranges::reverse(candidates);
    if (sort) std::ranges::stable_sort(candidates, {}, [&](std::size_t row) { return times[row]; });

    std::vector<std::size_t> bars;  // the first row of each
    const auto isKnown = [&](const BarTime& time) {
        if (order.newestFirst) return times[bars.back()] == time;
        return std::ranges::binary_search(bars, time, {}, [&](std::size_t bar) { return times[bar]; });
    };
    for (const std::size_t row : candidates) {
        if (bars.empty() || times[bars.back()] < times[row]) {
            bars.push_back(row);
        } else if (isKnown(times[row])) {
            ++order.repeats;
        } else {
            order.late.emplace_back(row, bars.back());
            continue;
        }
        order.rows.push_back(row);
    }
    return order;
}

}  // namespace sarvane::study
