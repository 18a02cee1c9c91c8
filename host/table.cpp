#include "table.h"

#include "console.h"
#include "csv.h"
#include "failure.h"
#include "sarvane/chart_label.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

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

ScreenTable::ScreenTable(const BarFile& bars, const Study& study) {
    const std::string dateTitle = Shown(bars.DateTitle());
    dateWidth = dateTitle.size();
    for (std::size_t bar = 0; bar < bars.BarCount(); ++bar)
        dateWidth = std::max(dateWidth, Shown(bars.Date(bar)).size());
    std::string line = fmt::format("{:<{}}", dateTitle, dateWidth);
    for (const Result& result : study.Results()) {
        const std::string title = Shown(result.title);
        widths.push_back(ColumnWidth(title));
        line += fmt::format("  {:>{}}", title, widths.back());
    }
    Print(line + '\n');
}

void ScreenTable::WriteBar(std::string_view date, const Study& study) {
    fmt::memory_buffer line;
    const auto end = std::back_inserter(line);
    fmt::format_to(end, "{:<{}}", Shown(date), dateWidth);
    for (std::size_t i = 0; i < widths.size(); ++i)
        fmt::format_to(end, "  {:>{}}", Shown(CellText(study.Results()[i], "{:.10g}")), widths[i]);
    const std::string_view text(line.data(), line.size());
    Print(std::string(text.substr(0, text.find_last_not_of(' ') + 1)) + '\n');
}

CsvTable::CsvTable(const std::string& path, const BarFile& bars, const Study& study)
    : name(path), file(std::fopen(path.c_str(), "wb")) {
    if (!file) Fail("{}: {}", name, std::strerror(errno));
    WriteCell(bars.DateTitle(), true);
    for (const Result& result : study.Results()) WriteCell(result.title, false);
    std::fputc('\n', file.get());
}

void CsvTable::WriteCell(std::string text, bool first) {
    if (!first) std::fputc(',', file.get());
    const std::string cell = CsvCell(std::move(text));
    std::fwrite(cell.data(), 1, cell.size(), file.get());
}

void CsvTable::WriteBar(std::string_view date, const Study& study) {
    WriteCell(std::string(date), true);
    for (const Result& result : study.Results()) WriteCell(CellText(result, "{}"), false);
    std::fputc('\n', file.get());
}

void CsvTable::Close() {
    const bool failed = std::ferror(file.get()) != 0;
    if (std::fclose(file.release()) != 0 || failed) Fail("{}: not all could be written", name);
}

}  // namespace sarvane::study
