#include "table/screen_table.h"

#include "console.h"
#include "table/number_text.h"

#include <algorithm>
#include <cmath>

namespace sarvane::study {
namespace {

constexpr std::size_t MostWaiting = 1000;  // lines
constexpr std::size_t NarrowestColumn = 12;
constexpr std::size_t ShortestTitle = 6;
constexpr int FewestDecimals = 2, MostDecimals = 10;
constexpr int DecimalsOfUnknownBars = 5;  // bars of which most are still to come
constexpr std::string_view Gap = "  ", Ellipsis = "…", Up = "\x1b[32m", Down = "\x1b[31m", Plain = "\x1b[0m";

// Characters of a text in UTF-8.
std::size_t Width(std::string_view text) {
    const auto begins = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
    return static_cast<std::size_t>(std::ranges::count_if(text, begins));
}

// The beginning and the end, where expressions differ most often, with `mark` between them.
std::string CutInTheMiddle(std::string_view text, std::size_t width, std::string_view mark) {
    const std::size_t kept = width - std::min(width, Width(mark)), length = Width(text);
    std::size_t headEnd = 0, tailBegin = 0;
    while (headEnd < text.size() && Width(text.substr(0, headEnd + 1)) <= kept / 2) ++headEnd;
    while (tailBegin < text.size() && Width(text.substr(0, tailBegin + 1)) <= length - (kept - kept / 2)) ++tailBegin;
    return std::string(text.substr(0, headEnd)).append(mark).append(text.substr(tailBegin));
}

std::string AlignedRight(std::string_view text, std::size_t width) {
    return std::string(width - std::min(width, Width(text)), ' ') + std::string(text);
}

std::string AlignedLeft(std::string_view text, std::size_t width) {
    return std::string(text) + std::string(width - std::min(width, Width(text)), ' ');
}

// How many decimals it takes to write a number in full.
int DecimalsOf(double number) {
    if (!std::isfinite(number) || IsUndefined(number)) return 0;
    const std::string text = fmt::format("{}", number);
    const std::size_t end = std::min(text.find('e'), text.size()), point = std::min(text.find('.'), end - 1);
    const int exponent = end < text.size() ? std::stoi(text.substr(end + 1)) : 0;
    return std::clamp(static_cast<int>(end - point) - 1 - exponent, 0, MostDecimals);
}

// Of the first bars, and of the last ones: old prices often have fewer.
int DecimalsOf(const BarFile& bars) {
    constexpr std::size_t Looked = 100;
    int decimals = FewestDecimals;
    for (std::size_t column = 0; column < bars.Columns().size(); ++column) {
        for (std::size_t i = 0; i < std::min(Looked, bars.BarCount()); ++i) {
            for (const std::size_t bar : {i, bars.BarCount() - 1 - i})
                decimals = std::max(decimals, DecimalsOf(bars.Value(column, bar)));
        }
    }
    return std::min(decimals, MostDecimals);
}

}  // namespace

ScreenTable::ScreenTable(const TableSettings& how, Write writeLines, const BarFile& bars,
                         std::span<const Result> results)
    : settings(how), write(std::move(writeLines)), dateTitle(Shown(bars.DateTitle())), dateWidth(Width(dateTitle)),
      barDecimals(DecimalsOf(bars)) {
    if (settings.atOnce || bars.BarCount() == 0) barDecimals = std::max(barDecimals, DecimalsOfUnknownBars);
    for (std::size_t bar = 0; bar < bars.BarCount(); ++bar)
        dateWidth = std::max(dateWidth, Width(Shown(bars.Date(bar))));
    for (const Result& result : results) columns.push_back({Shown(result.title), {}});
}

void ScreenTable::WriteBar(std::string_view date, std::span<const Result> results) {
    Line line{std::string(date), {}, {}};
    for (const Result& result : results) {
        line.texts.push_back(TextOf(result));
        line.values.push_back(line.texts.back() ? UndefinedValue : *result.value);
    }
    if (hasBegun) return WriteLine(line);
    waiting.push_back(std::move(line));
    if (settings.atOnce || waiting.size() == MostWaiting) Begin();
}

std::string ScreenTable::Finish() {
    if (!hasBegun) Begin();
    if (!settings.atOnce) WriteLegend();
    if (isTooWide)
        Tell(fmt::format("the table is wider than the {} characters of the terminal; --precision can make it narrower",
                         settings.width));
    return "";
}

void ScreenTable::Begin() {
    hasBegun = true;
    for (const Line& line : waiting) {
        dateWidth = std::max(dateWidth, Width(Shown(line.date)));
        for (std::size_t i = 0; i < columns.size(); ++i) MakeRoomFor(columns[i], line.values[i]);
    }
    CutTitles();
    if (settings.atOnce) WriteLegend();
    std::string heading = AlignedLeft(dateTitle, dateWidth);
    for (const Column& column : columns) heading.append(Gap) += AlignedRight(column.shownTitle, column.width);
    write(heading + '\n');
    for (const Line& line : waiting) WriteLine(line);
    waiting.clear();
}

// A column has as many decimals as its values need, no more than the bars have, and four digits at least of its largest
// value. It gets further ones when they are needed.
void ScreenTable::MakeRoomFor(Column& column, double value) const {
    if (settings.precision || IsUndefined(value) || !std::isfinite(value)) return;
    column.largest = std::max(column.largest, std::abs(value));
    const int ofFourDigits =
        column.largest > 0.0 ? std::min(3 - static_cast<int>(std::floor(std::log10(column.largest))), MostDecimals) : 0;
    const int most = std::max(barDecimals, ofFourDigits);
    if (column.decimals < most) column.decimals = std::max(column.decimals, std::min(DecimalsOf(value), most));
}

void ScreenTable::CutTitles() {
    std::vector<std::size_t> ofValues;
    std::size_t longest = NarrowestColumn;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        std::size_t width = 1;
        for (const Line& line : waiting) width = std::max(width, Width(CellText(columns[i], line, i)));
        ofValues.push_back(width);
        longest = std::max(longest, Width(columns[i].title));
    }
    const auto widthOf = [&](std::size_t i, std::size_t most) {
        return std::max(ofValues[i], std::min(std::max(Width(columns[i].title), NarrowestColumn), most));
    };
    const auto fits = [&](std::size_t most) {
        std::size_t total = dateWidth;
        for (std::size_t i = 0; i < columns.size(); ++i) total += Gap.size() + widthOf(i, most);
        return total <= settings.width;
    };
    std::size_t most = longest;
    while (settings.width > 0 && most > ShortestTitle && !fits(most)) --most;
    isTooWide = settings.width > 0 && !fits(most);
    for (std::size_t i = 0; i < columns.size(); ++i) {
        Column& column = columns[i];
        column.width = widthOf(i, most);
        column.shownTitle = column.title;
        if (Width(column.title) <= column.width) continue;
        // Two that are cut alike get a number.
        const auto isTaken = [&](const std::string& title) {
            return std::any_of(columns.begin(), columns.begin() + static_cast<std::ptrdiff_t>(i),
                               [&](const Column& other) { return other.shownTitle == title; });
        };
        std::string mark(Ellipsis);
        for (int copy = 2;; ++copy) {
            column.shownTitle = CutInTheMiddle(column.title, column.width, mark);
            if (!isTaken(column.shownTitle)) break;
            mark = fmt::format("{}{}{}", Ellipsis, copy, Ellipsis);
        }
    }
}

void ScreenTable::WriteLegend() {
    std::size_t width = 0;
    for (const Column& column : columns) {
        if (column.shownTitle != column.title) width = std::max(width, Width(column.shownTitle));
    }
    if (width == 0) return;
    std::string legend = settings.atOnce ? "" : "\n";
    for (const Column& column : columns) {
        if (column.shownTitle == column.title) continue;
        legend.append(AlignedLeft(column.shownTitle, width)).append(Gap).append(column.title) += '\n';
    }
    write(settings.atOnce ? legend + '\n' : legend);
}

void ScreenTable::WriteLine(const Line& line) {
    std::string text = AlignedLeft(Shown(line.date), dateWidth);
    for (std::size_t i = 0; i < columns.size(); ++i) {
        Column& column = columns[i];
        const double value = line.values[i];
        MakeRoomFor(column, value);
        const std::string cell = AlignedRight(CellText(column, line, i), column.width);
        const bool isNumber = !IsUndefined(value);
        const bool isColoured = settings.colour && isNumber && !IsUndefined(column.before) &&
                                (value > column.before || value < column.before);
        text += Gap;
        if (isColoured)
            text.append(value > column.before ? Up : Down).append(cell).append(Plain);
        else
            text += cell;
        if (isNumber) column.before = value;
    }
    write(text.substr(0, text.find_last_not_of(' ') + 1) + '\n');
}

std::string ScreenTable::CellText(const Column& column, const Line& line, std::size_t place) const {
    const std::string text = line.texts[place].value_or("");
    const double value = line.values[place];
    if (!text.empty()) return Shown(text);
    if (IsUndefined(value)) return Shown(settings.missing.value_or("-"));
    constexpr double Largest = 1e12;
    const double size = std::abs(value);
    const bool isRoundedAway = size > 0.0 && size < 0.5 * std::pow(10.0, -column.decimals);
    if (!settings.precision && size >= Largest) return fmt::format("{:.10g}", value);
    if (!settings.precision && isRoundedAway) return fmt::format("{:.3g}", value);
    fmt::memory_buffer number;
    AppendNumber(number, value, settings.precision.value_or(column.decimals));
    return {number.data(), number.size()};
}

}  // namespace sarvane::study
