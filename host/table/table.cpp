#include "table/table.h"

#include "sarvane/chart_label.h"
#include "table/delimited_table.h"
#include "table/json_table.h"
#include "table/screen_table.h"

#include <fmt/format.h>

namespace sarvane::study {

std::unique_ptr<Table> MakeTable(const TableSettings& settings, Table::Write write, const BarFile& bars,
                                 std::span<const Result> results) {
    switch (settings.format) {
    case TableFormat::Csv:
    case TableFormat::Tsv: return std::make_unique<DelimitedTable>(settings, std::move(write), bars, results);
    case TableFormat::Json:
    case TableFormat::Ndjson: return std::make_unique<JsonTable>(settings, std::move(write), bars, results);
    default: return std::make_unique<ScreenTable>(settings, std::move(write), bars, results);
    }
}

std::optional<std::string> TextOf(const Result& result) {
    if (result.text) return *result.text;
    return result.isLabel ? std::optional(LabelText(*result.value).value_or("")) : std::nullopt;
}

std::vector<std::string> UniqueTitles(const BarFile& bars, std::span<const Result> results) {
    BarHeader header{{}, bars.DateTitle(), {}};
    for (const Result& result : results) {
        std::string title = result.title;
        for (int copy = 2; header.FindColumn(title); ++copy) title = fmt::format("{} ({})", result.title, copy);
        header.titles.push_back(title);
    }
    return header.titles;
}

}  // namespace sarvane::study
