#pragma once

#include "bars/row_reader.h"

#include <string>
#include <string_view>
#include <vector>

namespace sarvane::study {

// Rows in columns. There are as many columns as the first row has values.
class BarColumns {
public:
    std::vector<std::vector<double>> values;  // by column

    std::size_t Count() const { return count; }
    std::string_view Date(std::size_t row) const;
    BarRow Row(std::size_t row) const;
    // Makes room for about so many rows.
    void Expect(std::size_t rows) { expected = rows; }
    void Append(const BarRow& row);
    // The date stays.
    void Replace(std::size_t row, const std::vector<double>& cells);

private:
    std::size_t count = 0;
    std::size_t expected = 0;
    std::string dates;                  // one behind the other
    std::size_t dateLength = 0;         // of each, as long as they all have one length
    std::vector<std::size_t> dateEnds;  // once they have not
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
