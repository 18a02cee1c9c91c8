#pragma once

#include "language/problem.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace sarvane::study {

// A time zone: by how much its clocks are ahead of UTC at any time, daylight saving included.
class Zone {
public:
    // Always as far ahead of UTC.
    explicit Zone(std::chrono::seconds offset = {}) { last.standard = last.summer = offset; }
    // "UTC", "+01:00", or a name of the IANA time zone database, such as "America/New_York", in any letter case.
    static Outcome<Zone> Find(std::string_view name);
    // Of a file of the IANA database's compiled form (RFC 8536, version 2 or later).
    static Outcome<Zone> Read(std::string_view bytes);

    std::chrono::seconds OffsetAt(std::chrono::sys_seconds time) const;
    // When a clock on the wall shows this. A time that it shows twice is the first of the two, and one that it leaves out
    // is the moment of the change.
    std::chrono::sys_seconds TimeOf(std::chrono::local_seconds clock) const;

private:
    struct Change {
        std::int64_t time;  // seconds since 1970, UTC
        std::int64_t offset;
    };
    // The day of a year on which clocks change, and when on it by the clock.
    struct ChangeDay {
        unsigned month = 0, week = 0, weekday = 0;  // week 5 is the last one of the month
        std::chrono::seconds clock{};
    };
    // What holds after the last change that is listed.
    struct YearlyRule {
        std::chrono::seconds standard{}, summer{};
        ChangeDay summerBegins{}, summerEnds{};

        bool HasSummer() const { return summerBegins.month > 0; }
        std::chrono::seconds OffsetAt(std::chrono::sys_seconds time) const;
    };

    static std::optional<YearlyRule> ReadRule(std::string_view text);

    std::int64_t first = 0;  // offset ahead of all changes
    std::vector<Change> changes;
    YearlyRule last;
};

}  // namespace sarvane::study
