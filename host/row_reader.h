#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sarvane::study {

// What the first line of a series of bars tells.
struct BarHeader {
    std::string name;                 // of the file
    std::string dateTitle;            // heading of the dates
    std::vector<std::string> titles;  // of the columns of numbers

    // In any letter case.
    std::optional<std::size_t> FindColumn(std::string_view title) const;
};

struct BarRow {
    std::string date;
    std::vector<double> values;  // by column
};

// Turns comma-separated text, piece by piece as it comes, into rows of bars. A row is a line; empty lines count, but
// are none.
class RowReader {
public:
    explicit RowReader(std::string name);

    // Takes text that has come, to be read by `Next`.
    void Add(std::string_view piece);
    // No more text comes: what stands behind the last line end is a line.
    void End() { ended = true; }

    // Reads on to the next row; false if the text holds no further whole line. Fails with file, line and column of a
    // fault, and the next call goes on behind that line.
    bool Next();

    const BarRow& Row() const { return row; }
    // The line that was read last, from 1.
    std::size_t Line() const { return line; }
    bool HasHeader() const { return !header.dateTitle.empty(); }
    const BarHeader& Header() const { return header; }

private:
    std::optional<std::string_view> NextLine();
    void Parse(std::string_view text);
    void TakeTitle(std::string_view title, std::size_t column);
    void TakeValue(std::string_view cell, std::size_t column);
    void EndHeader();
    void EndRow();

    BarHeader header;
    BarRow row;
    std::string text;       // that has come
    std::size_t begin = 0;  // of what is not yet read of it
    bool ended = false;
    bool afterReturn = false;  // a newline here belongs to the line before
    std::size_t line = 0;
    bool complete = false;  // the row is a whole one
};

}  // namespace sarvane::study
