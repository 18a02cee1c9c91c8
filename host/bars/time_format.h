#pragma once

#include "bars/bar_time.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sarvane::study {

// How a file writes its times, where that is not a text that ParseTime reads.
struct TimeFormat {
    enum class Kind { Text, Unix, Pattern };

    Kind kind = Kind::Text;
    DateOrder order = DateOrder::Unknown;  // of a text, if the user says it
    std::int64_t unitsASecond = 1;         // of a Unix time
    bool onlyDays = false;                 // all Unix times of the file's start are midnights
    std::string pattern;                   // such as "%d.%m.%y %H:%M"
};

// What `--time-format` says: `unix`, `unix-ms`, `unix-us`, `unix-ns`, `day-first`, `month-first`, or a pattern with %Y %y %m
// %d %H %I %M %S %f %p %b %z and other characters as they stand. Nothing for any other text.
std::optional<TimeFormat> TimeFormatOf(std::string_view text);

// The text that `TimeFormatOf` takes for a format, "text" for one without an order that the user says.
std::string TextOf(const TimeFormat& format);

// The pattern of dates in three short numbers, such as 4/17/20, if all of these texts fit it, go up or down, and fit no other
// order of day, month and year.
std::optional<TimeFormat> ShortYearFormatOf(const std::vector<std::string_view>& texts);

// How many units a second has if the text is a Unix time: 9 or 10 digits are seconds, up to 13 milliseconds, up to 16
// microseconds, 18 or 19 nanoseconds. A date in eight, twelve or fourteen digits, such as 202001030930, is none.
std::optional<std::int64_t> UnixUnitsOf(std::string_view text);

// The time of a row as a text that ParseTime reads, or nothing if it is no such time. `clock` is the cell of a column of
// its own with the time of day, or empty.
std::optional<std::string> NormalTime(const TimeFormat& format, std::string_view date, std::string_view clock);

// Whether a text is a time of day, such as 09:30 or 93000.
bool IsClock(std::string_view text);

}  // namespace sarvane::study
