#pragma once

#include "row_reader.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace sarvane::study {

// The bars of a file of comma-separated values. Its first line names the columns in any letter case: `date` or `time`
// first, then numbers in any order. An empty cell is an undefined value.
class BarFile {
public:
    // Fails with file, line and column of the first fault.
    explicit BarFile(const std::filesystem::path& file);
    // No bars so far.
    explicit BarFile(BarHeader header);

    const std::string& Name() const { return header.name; }
    std::size_t BarCount() const { return dateEnds.size(); }

    // The heading of the dates.
    const std::string& DateTitle() const { return header.dateTitle; }
    std::string_view Date(std::size_t bar) const {
        const std::size_t begin = bar == 0 ? 0 : dateEnds[bar - 1];
        return std::string_view(dates).substr(begin, dateEnds[bar] - begin);
    }

    // Names of the columns of numbers, as the file has them.
    const std::vector<std::string>& Columns() const { return header.titles; }
    std::optional<std::size_t> FindColumn(std::string_view title) const { return header.FindColumn(title); }
    double Value(std::size_t column, std::size_t bar) const { return values[column][bar]; }

    void Append(const BarRow& row);
    // Gives a bar other values; its date stays.
    void Replace(std::size_t bar, const std::vector<double>& row);

private:
    BarHeader header;
    std::string dates;  // one behind the other
    std::vector<std::size_t> dateEnds;
    std::vector<std::vector<double>> values;  // by column
};

}  // namespace sarvane::study
