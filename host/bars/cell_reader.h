#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace sarvane::study {

// Takes the cells of one line from left to right. A cell may stand in double quotes, and it must where it holds the
// delimiter, a quote, or a blank at either end. A quote inside is written twice.
class CellReader {
public:
    explicit CellReader(std::string_view line, char delimiter = ',');

    // The next cell without its quotes and without blanks around it, or nothing behind the last one. The text is valid until
    // the next call. Fails on a quote in the wrong place.
    std::optional<std::string_view> Next();

    // Which cell `Next` took or failed on, from 1.
    std::size_t Column() const { return column; }

private:
    std::string_view TakePlain();
    std::string_view TakeQuoted();
    void SkipBlanks();
    bool IsDelimiter(char c) const { return c == delimiter || (delimiter == ' ' && c == '\t'); }

    std::string_view rest;  // of the line
    char delimiter;
    std::size_t column = 0;
    bool ended = false;
    std::string unquoted;  // the present cell, if it stands in quotes
};

}  // namespace sarvane::study
