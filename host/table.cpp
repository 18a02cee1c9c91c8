#include "table.h"

#include "console.h"
#include "csv.h"
#include "sarvane/chart_label.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace sarvane::study {
namespace {

constexpr std::size_t NarrowestColumn = 12;

std::size_t ColumnWidth(const std::string& title) { return std::max(title.size(), NarrowestColumn); }

// A label as its text, a number in the given format, and nothing for what is undefined.
std::string CellText(const Result& result, fmt::format_string<double> numberFormat) {
    if (result.isLabel) return LabelText(*result.value).value_or("");
    if (IsUndefined(*result.value)) return "";
    return fmt::format(numberFormat, *result.value + 0.0);  // a negative zero becomes 0
}

}  // namespace

ScreenTable::ScreenTable(const BarFile& bars, std::span<const Result> results) {
    const std::string dateTitle = Shown(bars.DateTitle());
    dateWidth = dateTitle.size();
    for (std::size_t bar = 0; bar < bars.BarCount(); ++bar)
        dateWidth = std::max(dateWidth, Shown(bars.Date(bar)).size());
    std::string line = fmt::format("{:<{}}", dateTitle, dateWidth);
    for (const Result& result : results) {
        const std::string title = Shown(result.title);
        widths.push_back(ColumnWidth(title));
        line += fmt::format("  {:>{}}", title, widths.back());
    }
    Print(line + '\n');
}

void ScreenTable::WriteBar(std::string_view date, std::span<const Result> results) {
    fmt::memory_buffer line;
    const auto end = std::back_inserter(line);
    fmt::format_to(end, "{:<{}}", Shown(date), dateWidth);
    for (std::size_t i = 0; i < widths.size(); ++i)
        fmt::format_to(end, "  {:>{}}", Shown(CellText(results[i], "{:.10g}")), widths[i]);
    const std::string_view text(line.data(), line.size());
    Print(std::string(text.substr(0, text.find_last_not_of(' ') + 1)) + '\n');
}

// No two titles are the same, so that the file can be read as one of bars.
CsvTable::CsvTable(OutputFile& output, const BarFile& bars, std::span<const Result> results) : file(output) {
    BarHeader header{{}, bars.DateTitle(), {}};
    for (const Result& result : results) {
        std::string title = result.title;
        for (int copy = 2; header.FindColumn(title); ++copy) title = fmt::format("{} ({})", result.title, copy);
        header.titles.push_back(title);
    }
    std::string line = CsvCell(header.dateTitle);
    for (const std::string& title : header.titles) line += ',' + CsvCell(title);
    file.Write(line + '\n');
}

void CsvTable::WriteBar(std::string_view date, std::span<const Result> results) {
    std::string line = CsvCell(std::string(date));
    for (const Result& result : results) {
        line += ',';
        const bool isNumber = result.isLabel || std::isfinite(*result.value);
        notFinite += !isNumber;
        if (isNumber) line += CsvCell(CellText(result, "{}"));
    }
    file.Write(line + '\n');
}

}  // namespace sarvane::study
