#pragma once

#include "table/table.h"

#include <fmt/format.h>

namespace sarvane::study {

// Comma-separated values, or tab-separated ones, for programs.
class DelimitedTable : public Table {
public:
    DelimitedTable(const TableSettings& settings, Write write, const BarFile& bars, std::span<const Result> results);
    void WriteBar(std::string_view date, std::span<const Result> results) override;

private:
    std::string Cell(std::string text) const;

    Write write;
    char delimiter;
    std::string missing;
    std::optional<int> precision;
    fmt::memory_buffer line;  // the present one
};

}  // namespace sarvane::study
