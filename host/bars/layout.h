#pragma once

#include "bars/number_format.h"
#include "bars/text_decoder.h"
#include "bars/time_format.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sarvane::study {

// A delimiter as options and messages name it: by a word, such as comma, or as a character in quotes.
std::string DelimiterText(char delimiter);
// The delimiter that such a word, "\t" or the character itself names. Nothing for texts that are none, such as a quote.
std::optional<char> DelimiterOf(std::string_view text);

// What the user says of the layout of a file of bars. What is not said is found out.
struct LayoutSettings {
    std::optional<char> delimiter = {};   // a blank stands for any number of blanks and tabs
    std::optional<char> decimal = {};     // '.' or ','
    std::vector<std::string> names = {};  // of the columns, from the left; empty for one that is left out
    bool noHeader = false;                // the first line is one of data
    std::optional<TimeFormat> times = {};
    std::optional<Encoding> encoding = {};
    bool textIsGap = false;  // a cell that is no number is a missing one
};

// How a file of bars is laid out.
struct Layout {
    enum class Role { Time, Clock, Value, Other };
    struct Column {
        std::string name;      // for expressions
        std::string original;  // as the file has it; empty without a header
        Role role = Role::Value;
        std::string example = {};  // of its texts, in a column that seems to have no numbers
    };

    char delimiter = ',';
    NumberFormat numbers = {};
    TimeFormat times = {};
    bool hasHeader = true;
    bool namesAreGiven = false;    // by the user
    bool timesAreGiven = false;    // likewise, how they are written
    bool titlesAreLatin1 = false;  // they are no UTF-8
    std::size_t headerLines = 0;   // lines ahead of the data, empty ones not counted
    std::vector<Column> columns;   // from the left
    std::size_t timeColumn = 0;
    std::optional<std::size_t> clockColumn = {};  // of the time of day, if that has a column of its own
    bool dropsClock = false;                      // the times of day are all zero

    // In a few words, each with a comma behind it: what differs from comma-separated values with a plain header.
    std::string Text() const;
};

// Where the lines of a file of trades have what makes one.
struct TradeColumns {
    std::size_t price, size;
    std::optional<std::size_t> id = {};
};
// Nothing for a file of bars: one of trades has a price and a size, and no open, high or low.
std::optional<TradeColumns> FindTrades(const Layout& layout);

// Lines that are looked at to find out about the rest.
constexpr std::size_t LayoutSample = 200;

// The layout of a file that begins with these lines, none of which is empty. Fails with what can't be found out, and which
// option says it.
Layout FindLayout(const std::vector<std::string_view>& lines, const LayoutSettings& settings);

}  // namespace sarvane::study
