#pragma once

#include "bars/layout.h"
#include "bars/text_decoder.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sarvane::study {

// What the head of a series of bars tells.
struct BarHeader {
    std::string name;                 // of the file
    std::string dateTitle;            // heading of the dates
    std::vector<std::string> titles;  // of the columns of numbers
    // Each row is a trade: its price is open, high, low and close of a bar, and its size the volume.
    bool isTrades = false;
    // Column of the bars' times in seconds since 1970, UTC, where expressions ask for it. Rows leave it at 0.
    std::optional<std::size_t> timeColumn = {};

    // In any letter case.
    std::optional<std::size_t> FindColumn(std::string_view title) const;
};

struct BarRow {
    std::string date;
    std::vector<double> values;  // by column
    std::string id = {};         // of a trade, if it has one
};

// Which columns are wanted of those that a file has. The others are not read, so that it does not matter what their cells
// hold. `hasNumbers` tells of each whether it seems to hold numbers.
using WantedColumns =
    std::function<std::vector<bool>(const std::vector<std::string>& titles, const std::vector<bool>& hasNumbers)>;

// Turns text, piece by piece as it comes, into rows of bars. A row is a line; empty lines count, but are none. The layout
// of the text is found out from its first lines.
class RowReader {
public:
    explicit RowReader(std::string name, LayoutSettings settings = {}, WantedColumns wanted = {});

    // Takes bytes that have come, to be read by `Next`.
    void Add(std::string_view piece);
    // No more text comes: what stands behind the last line end is a line.
    void End();
    // Finds out the layout from the lines that have come, even if they are few: as soon as there is a line of data, or
    // with `evenWithoutData`. Fails as `Next` does.
    void Settle(bool evenWithoutData);

    // Reads on to the next row; false if the text holds no further whole line, or too few to tell the layout. Fails with
    // file, line and column of a fault, and the next call goes on behind that line.
    bool Next();

    const BarRow& Row() const { return row; }
    // The line that was read last, from 1.
    std::size_t Line() const { return line; }
    bool HasHeader() const { return layout.has_value(); }
    const BarHeader& Header() const { return header; }
    const Layout& PresentLayout() const { return *layout; }
    Encoding PresentEncoding() const { return decoder.Present(); }
    // Whether the line that was read last is a single cell, and no time, where there should be three or more: a remark.
    bool IsRemark() const { return isRemark; }
    // Cells of texts that were taken as gaps.
    std::size_t TextCells() const { return textCells; }

private:
    struct NumberedLine {
        std::size_t number;
        std::string text;
    };
    // What becomes of a cell.
    enum Use : std::size_t { Skipped, Time, Clock, Id, FirstValue };  // FirstValue + i is the i-th title

    std::optional<std::string_view> NextLine();
    void GatherLines();
    void TakeLayout(Layout found);
    void Parse(std::string_view text);
    void TakeCell(std::string_view cell, std::size_t column);
    void ReadCells(std::string_view text);
    void EndRow(std::size_t cells);
    double ValueOf(std::string_view cell, std::size_t column);
    [[noreturn]] void FailAt(std::size_t column, std::string_view what) const;

    BarHeader header;
    LayoutSettings settings;
    WantedColumns wanted;
    std::optional<Layout> layout;
    std::vector<std::size_t> uses;                            // of each column
    std::vector<std::pair<std::size_t, std::size_t>> copies;  // titles whose values are those of another title
    BarRow row;
    std::string clock;  // the cell of the time of day, if it has a column

    TextDecoder decoder;
    std::string text;       // that has come
    std::size_t begin = 0;  // of what is not yet read of it
    bool ended = false;
    bool afterReturn = false;  // a newline here belongs to the line before
    std::size_t line = 0;
    std::vector<NumberedLine> gathered;  // first lines, until the layout is known and they are read
    std::size_t nextGathered = 0;
    bool complete = false;  // the row is a whole one
    std::size_t textCells = 0;
    bool isRemark = false;
};

}  // namespace sarvane::study
