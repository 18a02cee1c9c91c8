#include "row_reader.h"

#include "csv.h"
#include "failure.h"
#include "language/parser.h"
#include "sarvane/values.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace sarvane::study {
namespace {

constexpr std::size_t LongestLine = 1 << 20;

// What stands in the place of a number that is missing, in any letter case.
constexpr std::string_view GapWords[] = {"nan", "-nan", "null", "none", "n/a", "#n/a", "na", "-", "--"};

// A whole cell as a finite number, or as a gap.
std::optional<double> ParseCell(std::string_view cell) {
    const std::size_t begin = std::min(cell.find_first_not_of(" \t"), cell.size());
    cell = cell.substr(begin, cell.find_last_not_of(" \t") + 1 - begin);
    if (cell.empty()) return UndefinedValue;
    if (cell.starts_with('+') && !cell.starts_with("+-")) cell.remove_prefix(1);
    double value = 0.0;
    const auto [end, error] = std::from_chars(cell.data(), cell.data() + cell.size(), value);
    if (error == std::errc() && end == cell.data() + cell.size() && std::isfinite(value)) return value;
    const bool isGap =
        std::ranges::any_of(GapWords, [&](std::string_view word) { return EqualIgnoringCase(cell, word); });
    return isGap ? std::optional(UndefinedValue) : std::nullopt;
}

}  // namespace

std::optional<std::size_t> BarHeader::FindColumn(std::string_view title) const {
    const auto found = std::ranges::find_if(titles, [&](const auto& known) { return EqualIgnoringCase(known, title); });
    if (found == titles.end()) return std::nullopt;
    return static_cast<std::size_t>(found - titles.begin());
}

RowReader::RowReader(std::string name) { header.name = std::move(name); }

void RowReader::Add(std::string_view piece) {
    text.erase(0, begin);
    begin = 0;
    text += piece;
}

bool RowReader::Next() {
    complete = false;
    while (!complete) {
        const auto next = NextLine();
        if (!next) return false;
        Parse(*next);
    }
    return true;
}

// Lines end with a newline, a carriage return, or both.
std::optional<std::string_view> RowReader::NextLine() {
    if (begin < text.size()) begin += std::exchange(afterReturn, false) && text[begin] == '\n';
    const std::string_view rest = std::string_view(text).substr(begin);
    const std::size_t length = rest.find_first_of("\r\n");
    if (length == std::string_view::npos && rest.size() > LongestLine) {
        begin = text.size();
        Fail("{}:{}: the line does not end", header.name, line + 1);
    }
    if (length == std::string_view::npos && (!ended || rest.empty())) return std::nullopt;
    const std::string_view whole = rest.substr(0, length);
    afterReturn = length != std::string_view::npos && rest[length] == '\r';
    begin += std::min(whole.size() + 1, rest.size());
    ++line;
    return whole;
}

void RowReader::Parse(std::string_view whole) {
    constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";
    if (line == 1 && whole.starts_with(ByteOrderMark)) whole.remove_prefix(ByteOrderMark.size());
    if (whole.find_first_not_of(" \t") == std::string_view::npos) return;
    row.values.clear();
    CellReader cells(whole);
    try {
        const bool isHeader = !HasHeader();
        while (const auto cell = cells.Next())
            isHeader ? TakeTitle(*cell, cells.Column()) : TakeValue(*cell, cells.Column());
        isHeader ? EndHeader() : EndRow();
    } catch (const Failure& failure) {
        if (!HasHeader()) header.titles.clear();
        Fail("{}:{}:{}: {}", header.name, line, cells.Column(), failure.what());
    }
}

// The heading of the dates stands in the row's date until the header is whole.
void RowReader::TakeTitle(std::string_view title, std::size_t column) {
    if (column == 1) {
        if (!EqualIgnoringCase(title, "date") && !EqualIgnoringCase(title, "time"))
            Fail("the first column is {}, not date or time", Quoted(title));
        row.date = title;
        return;
    }
    if (title.empty()) Fail("a column without a name");
    if (header.FindColumn(title)) Fail("a second column {}", Quoted(title));
    header.titles.emplace_back(title);
}

void RowReader::TakeValue(std::string_view cell, std::size_t column) {
    if (column > header.titles.size() + 1) Fail("a cell too many, the header names {}", header.titles.size() + 1);
    if (column == 1) {
        row.date = cell;
        return;
    }
    const std::optional<double> value = ParseCell(cell);
    if (!value) Fail("{} is no number ({})", Quoted(cell), header.titles[column - 2]);
    row.values.push_back(*value);
}

void RowReader::EndHeader() { header.dateTitle = row.date; }

void RowReader::EndRow() {
    if (row.values.size() < header.titles.size())
        Fail("the line ends here, the header names {} columns", header.titles.size() + 1);
    complete = true;
}

}  // namespace sarvane::study
