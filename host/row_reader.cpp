#include "row_reader.h"

#include "failure.h"
#include "library.h"
#include "sarvane/values.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <new>

namespace sarvane::study {
namespace {

constexpr std::size_t LongestLine = 1 << 20;
constexpr unsigned char ParserOptions = CSV_STRICT | CSV_STRICT_FINI;

// A whole cell as a finite number.
std::optional<double> ParseCell(std::string_view cell) {
    if (cell.starts_with('+')) cell.remove_prefix(1);
    double value = 0.0;
    const auto [end, error] = std::from_chars(cell.data(), cell.data() + cell.size(), value);
    if (error != std::errc() || end != cell.data() + cell.size() || !std::isfinite(value)) return std::nullopt;
    return value;
}

}  // namespace

std::optional<std::size_t> BarHeader::FindColumn(std::string_view title) const {
    const auto found = std::ranges::find_if(titles, [&](const auto& known) { return EqualIgnoringCase(known, title); });
    if (found == titles.end()) return std::nullopt;
    return static_cast<std::size_t>(found - titles.begin());
}

RowReader::RowReader(std::string name) {
    header.name = std::move(name);
    if (csv_init(&parser, ParserOptions) != 0) throw std::bad_alloc();
}

RowReader::~RowReader() { csv_free(&parser); }

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
    if (afterReturn && begin < text.size() && text[begin] == '\n') ++begin;
    if (begin < text.size()) afterReturn = false;
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

// The parser is C, so a fault inside one of its calls is kept until the call is over.
void RowReader::Parse(std::string_view whole) {
    constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";
    if (line == 1 && whole.starts_with(ByteOrderMark)) whole.remove_prefix(ByteOrderMark.size());
    const auto onCell = [](void* cell, std::size_t length, void* self) {
        static_cast<RowReader*>(self)->TakeCell({static_cast<const char*>(cell), length});
    };
    const auto onRow = [](int, void* self) { static_cast<RowReader*>(self)->EndRow(); };
    cells = 0;
    row.values.clear();
    fault.clear();
    const bool parsed = csv_parse(&parser, whole.data(), whole.size(), onCell, onRow, this) == whole.size() &&
                        csv_fini(&parser, onCell, onRow, this) == 0;
    if (parsed && fault.empty()) return;
    complete = false;
    const int error = csv_error(&parser);
    csv_free(&parser);  // it can't go on behind a fault
    if (csv_init(&parser, ParserOptions) != 0) throw std::bad_alloc();
    if (!HasHeader()) header.titles.clear();
    if (!fault.empty()) throw Failure(fault);
    if (error == CSV_ENOMEM) throw std::bad_alloc();
    Fail("{}:{}: {}", header.name, line,
         error == CSV_EPARSE ? "a quote in the wrong place, or not closed" : csv_strerror(error));
}

void RowReader::TakeCell(std::string_view cell) {
    ++cells;
    if (!fault.empty()) return;
    HasHeader() ? TakeValue(cell) : TakeTitle(cell);
}

// The heading of the dates stands in the row's date until the header is whole.
void RowReader::TakeTitle(std::string_view title) {
    if (cells == 1) {
        if (!EqualIgnoringCase(title, "date") && !EqualIgnoringCase(title, "time"))
            return Refuse(fmt::format("the first column is {}, not date or time", Quoted(title)));
        row.date = title;
    } else if (title.empty()) {
        Refuse("a column without a name");
    } else if (header.FindColumn(title)) {
        Refuse(fmt::format("a second column {}", Quoted(title)));
    } else {
        header.titles.emplace_back(title);
    }
}

void RowReader::TakeValue(std::string_view cell) {
    if (cells > header.titles.size() + 1)
        return Refuse(fmt::format("a cell too many, the header names {}", header.titles.size() + 1));
    if (cells == 1) {
        row.date = cell;
        return;
    }
    const std::optional<double> value = cell.empty() ? UndefinedValue : ParseCell(cell);
    if (!value) return Refuse(fmt::format("{} is no number ({})", Quoted(cell), header.titles[cells - 2]));
    row.values.push_back(*value);
}

void RowReader::EndRow() {
    if (!fault.empty()) return;
    if (!HasHeader()) {
        header.dateTitle = row.date;
    } else if (row.values.size() < header.titles.size()) {
        Refuse(fmt::format("the line ends here, the header names {} columns", header.titles.size() + 1));
    } else {
        complete = true;
    }
}

// The place is the cell that came last.
void RowReader::Refuse(std::string_view what) { fault = fmt::format("{}:{}:{}: {}", header.name, line, cells, what); }

}  // namespace sarvane::study
