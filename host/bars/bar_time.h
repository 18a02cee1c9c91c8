#pragma once

#include <chrono>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace sarvane::study {

// The time of a bar, as a point in UTC. Texts of one time compare equal however they are written.
struct BarTime {
    std::chrono::sys_seconds second{};
    std::chrono::nanoseconds fraction{};  // below a second

    auto operator<=>(const BarTime&) const = default;
};

// Whether the day or the month comes first in a date such as 01/03/2020.
enum class DateOrder { Unknown, MonthFirst, DayFirst };

struct ParsedTime {
    std::chrono::year_month_day date;
    std::optional<std::chrono::nanoseconds> clock = {};  // since the date's midnight
    std::optional<std::chrono::minutes> zone = {};       // by which the clock is ahead of UTC
    DateOrder shows = DateOrder::Unknown;                // the order that this text alone allows
    bool couldBeEither = false;                          // day and month could change places

    // Without a zone the clock is taken as UTC.
    BarTime Time() const;
    // Such as "2020-01-03 09:30:00+01:00".
    std::string IsoText() const;
};

// Reads a date, with or without a time of day and a zone:
//
//     2020-01-03  2020-1-3  2020/01/03  20200103  01/03/2020  1-3-2020  3.1.2020  3-Jan-2020  Jan 3, 2020
//     09:30  9:30:00  093000  09:30:00.123456789  9:30 PM
//     Z  UTC  +01:00  +0100  +01
//
// The time of day stands behind a T or blanks. Two numbers with a year behind them are month and day by `order`, unless
// points separate them: then the day comes first. While the order is unknown they are month and day if they can be.
// Nothing for any other text, and for days and hours that the calendar does not have.
std::optional<ParsedTime> ParseTime(std::string_view text, DateOrder order = DateOrder::Unknown);

// Whether a text has the form that ISO 8601 gives to a date and a time of day, here with a T or a blank between them.
bool HasIsoForm(std::string_view text);

// Reads the texts in the first column of one file. `Note` takes those that are there at first, then `Decide` concludes
// from all of them what the column holds; whatever is still open then is decided by the texts that `Read` is given.
class TimeReader {
public:
    // With an order that the user says.
    TimeReader() = default;
    explicit TimeReader(DateOrder known) : order(known) {}

    // The time of the text, if that can't change any more by what comes later.
    std::optional<BarTime> Note(std::string_view text);
    void Decide();

    // The time of a text. Fails if it is none. In a column without times each new text counts as a later time than
    // those before.
    BarTime Read(std::string_view text);

    bool HasTimes() const { return column == Column::Times; }
    std::optional<ParsedTime> Parse(std::string_view text) const { return ParseTime(text, order); }

    // Whether day and month were taken to stand in one order, for want of a line that tells, and this text tells the
    // other one.
    bool WasMisled(std::string_view text) const;
    // The same reader with the order that this text tells.
    TimeReader Corrected(std::string_view text) const;

    // What the user should know of the texts so far, each once.
    std::vector<std::string> TakeNotices();

private:
    enum class Column { Unknown, Times, Words };

    void NoteTime(std::string_view text, const ParsedTime& time);
    void NoteWords(std::string_view text);

    Column column = Column::Unknown;
    DateOrder order = DateOrder::Unknown;
    bool orderIsAssumed = false;
    std::string orderExample;  // a text that tells the order, or for which it was assumed
    bool someHaveZones = false;
    bool someHaveNoZones = false;
    std::string firstWord;                                 // the first text that is no time
    std::unordered_map<std::string, std::int64_t> places;  // of the texts of a column without times
    std::vector<std::string> notices;
};

}  // namespace sarvane::study
