#include "bar_columns.h"

#include "sarvane/values.h"

#include <fmt/format.h>
#include <numeric>

namespace sarvane::study {

std::string_view BarColumns::Date(std::size_t row) const {
    const std::size_t begin = row == 0 ? 0 : dateEnds[row - 1];
    return std::string_view(dates).substr(begin, dateEnds[row] - begin);
}

BarRow BarColumns::Row(std::size_t row) const {
    BarRow whole{std::string(Date(row)), {}};
    for (const std::vector<double>& column : values) whole.values.push_back(column[row]);
    return whole;
}

void BarColumns::Append(const BarRow& row) {
    if (dateEnds.empty()) values.resize(row.values.size());
    dates += row.date;
    dateEnds.push_back(dates.size());
    for (std::size_t column = 0; column < values.size(); ++column) values[column].push_back(row.values[column]);
}

void BarColumns::Replace(std::size_t row, const std::vector<double>& cells) {
    for (std::size_t column = 0; column < values.size(); ++column) values[column][row] = cells[column];
}

void GapCount::Count(const std::vector<double>& cells) {
    if (gaps.empty()) gaps.resize(cells.size());
    for (std::size_t column = 0; column < gaps.size(); ++column) gaps[column] += IsUndefined(cells[column]);
}

std::string GapCount::Text(const std::vector<std::string>& titles) const {
    std::string columns;
    for (std::size_t column = 0; column < gaps.size(); ++column) {
        if (gaps[column] == 0) continue;
        columns += fmt::format("{}{} {}", columns.empty() ? "" : ", ", titles[column], gaps[column]);
    }
    if (columns.empty()) return {};
    return fmt::format("{} ({})", std::accumulate(gaps.begin(), gaps.end(), std::size_t{0}), columns);
}

}  // namespace sarvane::study
