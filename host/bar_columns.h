#pragma once

#include "row_reader.h"

#include <string>
#include <string_view>
#include <vector>

namespace sarvane::study {

// Rows in columns. There are as many columns as the first row has values.
struct BarColumns {
    std::string dates;  // one behind the other
    std::vector<std::size_t> dateEnds;
    std::vector<std::vector<double>> values;  // by column

    std::size_t Count() const { return dateEnds.size(); }
    std::string_view Date(std::size_t row) const;
    BarRow Row(std::size_t row) const;
    void Append(const BarRow& row);
    // The date stays.
    void Replace(std::size_t row, const std::vector<double>& cells);
};

// How many cells of each column hold no number.
class GapCount {
public:
    void Count(const std::vector<double>& cells);
    // Such as "12 (open 3, close 9)", or nothing without gaps.
    std::string Text(const std::vector<std::string>& titles) const;

private:
    std::vector<std::size_t> gaps;  // by column
};

}  // namespace sarvane::study
