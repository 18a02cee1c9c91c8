#include "table.h"

#include "failure.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <csv.h>

namespace sarvane::study {
namespace {

constexpr std::size_t NarrowestColumn = 12;

std::size_t ColumnWidth(const std::string& title) { return std::max(title.size(), NarrowestColumn); }

}  // namespace

ScreenTable::ScreenTable(const BarFile& bars, const Study& study) : dateWidth(bars.DateTitle().size()) {
    for (std::size_t bar = 0; bar < bars.BarCount(); ++bar) dateWidth = std::max(dateWidth, bars.Date(bar).size());
    std::string line = fmt::format("{:<{}}", bars.DateTitle(), dateWidth);
    for (std::size_t i = 0; i < study.ExpressionCount(); ++i)
        line += fmt::format("  {:>{}}", study.Title(i), ColumnWidth(study.Title(i)));
    fmt::print("{}\n", line);
}

void ScreenTable::WriteBar(std::string_view date, const Study& study) {
    fmt::memory_buffer line;
    const auto end = std::back_inserter(line);
    fmt::format_to(end, "{:<{}}", date, dateWidth);
    for (std::size_t i = 0; i < study.ExpressionCount(); ++i) {
        const std::size_t width = ColumnWidth(study.Title(i));
        const double value = study.Value(i);
        IsUndefined(value) ? fmt::format_to(end, "  {:>{}}", "", width)
                           : fmt::format_to(end, "  {:>{}.10g}", value, width);
    }
    std::string_view text(line.data(), line.size());
    fmt::print("{}\n", text.substr(0, text.find_last_not_of(' ') + 1));
}

CsvTable::CsvTable(const std::string& path, const BarFile& bars, const Study& study)
    : name(path), file(std::fopen(path.c_str(), "wb")) {
    if (!file) Fail("{}: {}", name, std::strerror(errno));
    WriteCell(bars.DateTitle(), true);
    for (std::size_t i = 0; i < study.ExpressionCount(); ++i) WriteCell(study.Title(i), false);
    std::fputc('\n', file.get());
}

void CsvTable::WriteCell(std::string_view text, bool first) {
    if (!first) std::fputc(',', file.get());
    if (text.find_first_of(",\"\r\n ") == std::string_view::npos)
        std::fwrite(text.data(), 1, text.size(), file.get());
    else
        csv_fwrite(file.get(), text.data(), text.size());
}

void CsvTable::WriteBar(std::string_view date, const Study& study) {
    WriteCell(date, true);
    for (std::size_t i = 0; i < study.ExpressionCount(); ++i) {
        const double value = study.Value(i);
        IsUndefined(value) ? fmt::print(file.get(), ",") : fmt::print(file.get(), ",{}", value);
    }
    std::fputc('\n', file.get());
}

void CsvTable::Close() {
    const bool failed = std::ferror(file.get()) != 0;
    if (std::fclose(file.release()) != 0 || failed) Fail("{}: not all could be written", name);
}

}  // namespace sarvane::study
