#include "bars/bar_columns.h"

#include "sarvane/values.h"

#include <algorithm>
#include <fmt/format.h>
#include <numeric>

namespace sarvane::study {

std::string_view BarColumns::Date(std::size_t row) const {
    if (dateEnds.empty()) return std::string_view(dates).substr(row * dateLength, dateLength);
    const std::size_t begin = row == 0 ? 0 : dateEnds[row - 1];
    return std::string_view(dates).substr(begin, dateEnds[row] - begin);
}

BarRow BarColumns::Row(std::size_t row) const {
    BarRow whole{std::string(Date(row)), {}};
    for (const std::vector<double>& column : values) whole.values.push_back(column[row]);
    return whole;
}

void BarColumns::Append(const BarRow& row) {
    if (count == 0) {
        values.resize(row.values.size());
        for (std::vector<double>& column : values) column.reserve(expected);
        dateLength = row.date.size();
        dates.reserve(expected * dateLength);
    }
    if (dateEnds.empty() && row.date.size() != dateLength) {
        dateEnds.reserve(std::max(expected, count + 1));
        for (std::size_t end = dateLength; dateEnds.size() < count; end += dateLength) dateEnds.push_back(end);
    }
    dates += row.date;
    if (!dateEnds.empty() || row.date.size() != dateLength) dateEnds.push_back(dates.size());
    for (std::size_t column = 0; column < values.size(); ++column) values[column].push_back(row.values[column]);
    ++count;
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
