#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// Lines of comma-separated values. A cell may stand in double quotes, and it must where it holds a comma, a quote, or a
// blank at either end. A quote inside is written twice.
namespace sarvane::study {

// Takes the cells of one line from left to right.
class CellReader {
public:
    explicit CellReader(std::string_view line) : rest(line) {}

    // The next cell without its quotes and without blanks around it, or nothing behind the last one. The text is valid
    // until the next call. Fails on a quote in the wrong place.
    std::optional<std::string_view> Next();

    // Which cell `Next` took or failed on, from 1.
    std::size_t Column() const { return column; }

private:
    std::string_view TakePlain();
    std::string_view TakeQuoted();
    void SkipBlanks();

    std::string_view rest;  // of the line
    std::size_t column = 0;
    bool ended = false;
    std::string unquoted;  // the present cell, if it stands in quotes
};

// A text as a cell of a line, in quotes if it needs them. Control characters stay as they are, in quotes.
std::string CsvCell(std::string text);

}  // namespace sarvane::study
