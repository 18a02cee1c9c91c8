#pragma once

#include "table/table.h"

#include <vector>

namespace sarvane::study {

// An object for each bar: all of them in one array, or each in a line of its own. The date comes first, a gap is null.
class JsonTable : public Table {
public:
    JsonTable(const TableSettings& settings, Write write, const BarFile& bars, std::span<const Result> results);
    void WriteBar(std::string_view date, std::span<const Result> results) override;
    std::string Finish() override;

private:
    Write write;
    bool isArray;
    bool isFirst = true;
    std::optional<int> precision;
    std::vector<std::string> keys;  // with all that stands ahead of the value
};

}  // namespace sarvane::study
