#include "bars/row_reader.h"

#include "bars/cell_reader.h"
#include "failure.h"
#include "language/parser.h"
#include "sarvane/values.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <utility>

namespace sarvane::study {
namespace {

constexpr std::size_t LongestLine = 1 << 20;

std::string_view Found(const char* from, const char* end, char c) {
    const void* const at = std::memchr(from, c, static_cast<std::size_t>(end - from));
    return {from, static_cast<std::size_t>((at ? static_cast<const char*>(at) : end) - from)};
}

}  // namespace

std::optional<std::size_t> BarHeader::FindColumn(std::string_view title) const {
    const auto found = std::ranges::find_if(titles, [&](const auto& known) { return EqualIgnoringCase(known, title); });
    if (found == titles.end()) return std::nullopt;
    return static_cast<std::size_t>(found - titles.begin());
}

RowReader::RowReader(std::string name, LayoutSettings how, WantedColumns which)
    : settings(std::move(how)), wanted(std::move(which)), decoder(settings.encoding) {
    header.name = std::move(name);
}

void RowReader::Add(std::string_view piece) {
    text.erase(0, begin);
    begin = 0;
    decoder.Decode(piece, text);
}

void RowReader::End() {
    if (!ended) decoder.End(text);
    ended = true;
}

bool RowReader::Next() {
    complete = false;
    while (!complete) {
        if (!layout) {
            GatherLines();
            if (ended || gathered.size() == LayoutSample) Settle(true);
            if (!layout) return false;
        }
        if (nextGathered < gathered.size()) {
            const NumberedLine next = std::move(gathered[nextGathered++]);
            line = next.number;
            Parse(next.text);
            continue;
        }
        if (!gathered.empty()) {
            line = std::max(line, gathered.back().number);
            gathered.clear();
            nextGathered = 0;
        }
        const auto next = NextLine();
        if (!next) return false;
        Parse(*next);
    }
    return true;
}

// Lines end with a newline, a carriage return, or both.
std::optional<std::string_view> RowReader::NextLine() {
    if (begin < text.size()) begin += std::exchange(afterReturn, false) && text[begin] == '\n';
    const char* const start = text.data() + begin;
    const char* const end = text.data() + text.size();
    std::string_view whole = Found(start, end, '\n');
    if (const std::string_view upToReturn = Found(start, start + whole.size(), '\r'); upToReturn.size() < whole.size())
        whole = upToReturn;
    const bool isWhole = start + whole.size() < end;
    if (!isWhole && whole.size() > LongestLine) {
        begin = text.size();
        Fail("{}:{}: the line does not end", header.name, line + 1);
    }
    if (!isWhole && (!ended || whole.empty())) return std::nullopt;
    afterReturn = isWhole && start[whole.size()] == '\r';
    begin += whole.size() + (isWhole ? 1 : 0);
    ++line;
    return whole;
}

void RowReader::GatherLines() {
    while (gathered.size() < LayoutSample) {
        const auto next = NextLine();
        if (!next) return;
        if (!WithoutBlanks(*next).empty()) gathered.push_back({line, std::string(*next)});
    }
}

void RowReader::Settle(bool evenWithoutData) {
    if (layout) return;
    GatherLines();
    if (gathered.empty()) return;
    std::vector<std::string_view> lines;
    for (const NumberedLine& known : gathered) lines.push_back(known.text);
    Layout found;
    try {
        found = FindLayout(lines, settings);
    } catch (const Failure& failure) {
        const std::size_t first = gathered.front().number;
        gathered.clear();
        Fail("{}:{}: {}", header.name, first, failure.what());
    }
    if (evenWithoutData || found.headerLines < gathered.size()) TakeLayout(std::move(found));
}

void RowReader::TakeLayout(Layout found) {
    constexpr std::size_t NoColumn = static_cast<std::size_t>(-1);
    std::vector<std::string> titles;
    std::vector<std::size_t> columns;
    std::vector<bool> isWanted;
    const auto add = [&](std::string_view title, std::size_t column, bool hasNumbers) {
        titles.emplace_back(title);
        columns.push_back(column);
        isWanted.push_back(hasNumbers);
    };
    const auto trades = FindTrades(found);
    if (trades) {
        for (const std::string_view price : {"open", "high", "low", "close"}) add(price, trades->price, true);
        add("volume", trades->size, true);
    }
    for (std::size_t i = 0; i < found.columns.size(); ++i) {
        const bool isOfTrade = trades && (i == trades->price || i == trades->size || i == trades->id);
        if (found.columns[i].role == Layout::Role::Value && !isOfTrade)
            add(found.columns[i].name, i, found.columns[i].example.empty());
    }
    const bool hasTime =
        std::ranges::any_of(titles, [](const auto& title) { return EqualIgnoringCase(title, "time"); });
    if (!hasTime) add("time", NoColumn, false);
    if (wanted) isWanted = wanted(titles, isWanted);
    isWanted.resize(titles.size(), false);
    uses.assign(found.columns.size(), Skipped);
    uses[found.timeColumn] = Time;
    if (found.clockColumn) uses[*found.clockColumn] = Clock;
    if (trades && trades->id) uses[*trades->id] = Id;
    for (std::size_t i = 0; i < titles.size(); ++i) {
        if (!isWanted[i]) continue;
        const std::size_t place = header.titles.size();
        header.titles.push_back(titles[i]);
        if (columns[i] == NoColumn) {
            header.timeColumn = place;
        } else if (uses[columns[i]] >= FirstValue) {
            copies.emplace_back(place, uses[columns[i]] - FirstValue);
        } else {
            uses[columns[i]] = FirstValue + place;
        }
    }
    header.isTrades = trades.has_value();
    header.dateTitle = found.columns[found.timeColumn].name;
    nextGathered = found.headerLines;
    row.values.resize(header.titles.size());
    layout = std::move(found);
}

void RowReader::Parse(std::string_view whole) {
    isRemark = false;
    if (whole.find_first_not_of(" \t") == std::string_view::npos) return;
    const bool isPlain = layout->delimiter != ' ' && std::memchr(whole.data(), '"', whole.size()) == nullptr;
    if (!isPlain) return ReadCells(whole);
    const char* at = whole.data();
    const char* const end = at + whole.size();
    std::size_t column = 0;
    while (true) {
        const std::string_view cell = Found(at, end, layout->delimiter);
        TakeCell(cell, column);
        ++column;
        at += cell.size();
        if (at == end) break;
        ++at;
    }
    EndRow(column);
}

void RowReader::ReadCells(std::string_view whole) {
    CellReader cells(whole, layout->delimiter);
    const auto nextCell = [&] {
        try {
            return cells.Next();
        } catch (const Failure& failure) {
            FailAt(cells.Column(), failure.what());
        }
    };
    while (const auto cell = nextCell()) TakeCell(*cell, cells.Column() - 1);
    EndRow(cells.Column());
}

void RowReader::TakeCell(std::string_view cell, std::size_t column) {
    if (column >= uses.size()) {
        // One that is empty stands behind a delimiter at the end of the line.
        if (column == uses.size() && WithoutBlanks(cell).empty()) return;
        FailAt(column + 1, fmt::format("a cell too many, there are {} columns", uses.size()));
    }
    switch (uses[column]) {
    case Skipped: return;
    case Time: row.date.assign(WithoutBlanks(cell)); return;
    case Clock: clock.assign(WithoutBlanks(cell)); return;
    case Id: row.id.assign(WithoutBlanks(cell)); return;
    default: row.values[uses[column] - FirstValue] = ValueOf(cell, column);
    }
}

double RowReader::ValueOf(std::string_view cell, std::size_t column) {
    if (layout->numbers.decimal == '.') {
        double value = 0.0;
        const auto [end, error] = std::from_chars(cell.data(), cell.data() + cell.size(), value);
        if (error == std::errc() && end == cell.data() + cell.size() && std::isfinite(value)) return value;
    }
    if (const auto value = ReadNumber(cell, layout->numbers)) return *value;
    if (IsGapText(cell)) return UndefinedValue;
    if (settings.textIsGap) {
        ++textCells;
        return UndefinedValue;
    }
    const bool isUnclear = !layout->numbers.isCertain && EvidenceOf(cell) == DecimalEvidence::Unclear;
    FailAt(column + 1, fmt::format("{} {} ({})", Quoted(WithoutBlanks(cell)),
                                   isUnclear ? "can be a number of thousands or one with decimals; --decimal says which"
                                             : "is no number",
                                   layout->columns[column].name));
}

void RowReader::EndRow(std::size_t cells) {
    isRemark = cells == 1 && uses.size() > 2 && !ParseTime(row.date);
    if (cells < uses.size()) FailAt(cells, fmt::format("the line ends here, there are {} columns", uses.size()));
    const TimeFormat& times = layout->times;
    if (times.kind != TimeFormat::Kind::Text || layout->clockColumn || row.date.size() == 12 || row.date.size() == 14) {
        if (layout->dropsClock && clock.find_first_not_of("0:") == std::string::npos) clock.clear();
        const auto normal = NormalTime(times, row.date, clock);
        if (!normal && !row.date.empty()) FailAt(layout->timeColumn + 1, Quoted(row.date) + " is no time");
        if (normal) row.date = *normal;
    }
    for (const auto& [to, from] : copies) row.values[to] = row.values[from];
    complete = true;
}

void RowReader::FailAt(std::size_t column, std::string_view what) const {
    Fail("{}:{}:{}: {}", header.name, line, column, what);
}

}  // namespace sarvane::study
