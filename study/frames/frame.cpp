#include "frames/frame.h"

#include "language/parser.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <vector>

namespace sarvane::study {
namespace {

using namespace std::chrono;

std::vector<std::string_view> WordsOf(std::string_view text) {
    std::vector<std::string_view> words;
    for (std::size_t at = 0; (at = text.find_first_not_of(' ', at)) != text.npos;) {
        const std::size_t end = std::min(text.find(' ', at), text.size());
        words.push_back(text.substr(at, end - at));
        at = end;
    }
    return words;
}

// "9:30" and "24:00"; nothing for any other text.
std::optional<seconds> ClockOf(std::string_view text) {
    const std::size_t colon = text.find(':');
    if (colon == text.npos || colon == 0 || colon > 2 || text.size() != colon + 3) return std::nullopt;
    int clock[2] = {};
    const std::string_view parts[] = {text.substr(0, colon), text.substr(colon + 1)};
    for (int i = 0; i < 2; ++i) {
        const char* const end = parts[i].data() + parts[i].size();
        if (std::from_chars(parts[i].data(), end, clock[i]).ptr != end || clock[i] < 0) return std::nullopt;
    }
    const seconds time = hours(clock[0]) + minutes(clock[1]);
    return clock[1] < 60 && time <= hours(24) ? std::optional(time) : std::nullopt;
}

std::int64_t FloorTo(std::int64_t value, std::int64_t step) {
    const std::int64_t rest = value % step;
    return value - (rest < 0 ? rest + step : rest);
}

constexpr int WeekLength = 7;
constexpr int FirstMonday = 4;  // days from 1970-01-01

}  // namespace

Outcome<Frame> Frame::Read(std::string_view given) {
    const auto wrong = [&](std::string message) {
        return Problem{.length = given.size(), .message = std::move(message)};
    };
    const std::vector<std::string_view> words = WordsOf(given);
    const std::string_view name = words.empty() ? std::string_view() : words[0];
    const auto unknown = [&] {
        return wrong("\"" + std::string(given) +
                     "\" is no frame; write 5min, 1h, 1d, 1W, 1M, '1h 09:30 America/New_York', 100ticks, 5bars, "
                     "10000volume, 1e6value, 2range, 2renko or heikinashi");
    };
    Frame frame;
    if (EqualIgnoringCase(name, "heikinashi") && words.size() == 1) {
        frame.kind = FrameKind::HeikinAshi;
        frame.text = "heikinashi";
        return frame;
    }
    const auto [number, error] = std::from_chars(name.data(), name.data() + name.size(), frame.size);
    const std::string_view digits = name.substr(0, static_cast<std::size_t>(number - name.data()));
    const std::string_view unit = name.substr(digits.size());
    if (error != std::errc() || unit.empty()) return unknown();
    if (!(frame.size > 0.0 && frame.size < 1e300)) return wrong("the size of a frame is above 0");

    struct Named {
        std::string_view name;
        Unit unit;
        std::int64_t length;
    };
    static constexpr Named Spans[] = {{"s", Unit::Second, 1}, {"min", Unit::Second, 60},    {"h", Unit::Second, 3600},
                                      {"d", Unit::Day, 1},    {"W", Unit::Day, WeekLength}, {"M", Unit::Month, 1},
                                      {"Y", Unit::Month, 12}};
    struct Sized {
        std::string_view name;
        FrameKind kind;
    };
    static constexpr Sized Kinds[] = {{"ticks", FrameKind::Count},   {"bars", FrameKind::Count},
                                      {"volume", FrameKind::Volume}, {"value", FrameKind::Value},
                                      {"range", FrameKind::Range},   {"renko", FrameKind::Renko}};
    if (unit == "m")
        return wrong("write " + std::string(digits) + "min for minutes or " + std::string(digits) + "M for months");
    const auto span = std::ranges::find_if(Spans, [&](const Named& known) {
        return known.name == "M" ? unit == "M" : EqualIgnoringCase(unit, known.name);
    });
    const auto sized =
        std::ranges::find_if(Kinds, [&](const Sized& known) { return EqualIgnoringCase(unit, known.name); });
    if (span == std::end(Spans) && sized == std::end(Kinds)) return unknown();
    const bool isWhole = frame.size == std::floor(frame.size) && frame.size <= 1e6;
    if (sized != std::end(Kinds)) {
        if (words.size() > 1) return wrong("only frames of time have a session");
        frame.kind = sized->kind;
        if (frame.kind == FrameKind::Count && !isWhole)
            return wrong("a frame holds a whole number of " + std::string(sized->name) + ", at most a million");
        frame.text = std::string(digits).append(sized->name);
        return frame;
    }
    if (!isWhole) return wrong("a frame of time is a whole number of its unit, at most a million");
    frame.unit = span->unit;
    frame.startsOnMonday = span->name == "W";
    frame.length = static_cast<std::int64_t>(frame.size) * span->length;
    constexpr std::int64_t DayLength = 86400;
    if (frame.IsBelowDay() && frame.length >= DayLength)
        return wrong("a frame of " + std::string(name) + " is longer than a day: write it in days");
    if (!frame.IsBelowDay() && frame.length > 100000) return wrong("this frame is longer than the calendar");
    frame.text = std::string(digits).append(span->name);
    std::size_t next = 1;
    if (next < words.size() && words[next].find(':') != words[next].npos && words[next].find_first_of("+-") != 0) {
        const std::string_view session = words[next++];
        const std::size_t dash = std::min(session.find('-'), session.size());
        const auto start = ClockOf(session.substr(0, dash));
        const auto end = dash < session.size() ? ClockOf(session.substr(dash + 1)) : start;
        if (!start || !end || *start >= days(1))
            return wrong("\"" + std::string(session) +
                         "\" is no session; write its start, 09:30, or start and end, 09:30-16:00");
        frame.sessionStart = *start;
        frame.sessionEnd = *end;
        if (dash < session.size() && *end <= *start) frame.sessionEnd += days(1);  // over midnight
        frame.text.append(" ").append(session);
    }
    if (next < words.size()) {
        Outcome<Zone> found = Zone::Find(words[next]);
        if (!found) return wrong(found.Fault().message);
        frame.zone = std::move(*found);
        frame.isInUtc = false;
        frame.text.append(" ").append(words[next++]);
    }
    if (next < words.size()) return wrong("expected nothing behind the time zone");
    return frame;
}

sys_seconds Frame::StartOf(local_days day) const { return zone.TimeOf(local_seconds(day) + sessionStart); }

local_days Frame::DayOf(sys_seconds time) const {
    const local_seconds clock(time.time_since_epoch() + zone.OffsetAt(time));
    local_days day = floor<days>(clock);
    while (StartOf(day) > time) day -= days(1);
    while (StartOf(day + days(1)) <= time) day += days(1);
    return day;
}

Stretch Frame::Around(std::int64_t time) const {
    const local_days day = DayOf(sys_seconds(seconds(time)));
    const auto number = [](sys_seconds start) { return start.time_since_epoch().count(); };
    if (unit == Unit::Second) {
        const std::int64_t start = number(StartOf(day)), end = number(StartOf(day + days(1)));
        const std::int64_t begin = start + FloorTo(time - start, length);
        return {begin, std::min(begin + length, end)};
    }
    if (unit == Unit::Day) {
        const std::int64_t origin = startsOnMonday ? FirstMonday : 0;
        const std::int64_t first = FloorTo(day.time_since_epoch().count() - origin, length) + origin;
        return {number(StartOf(local_days(days(first)))), number(StartOf(local_days(days(first + length))))};
    }
    const year_month_day date(day);
    const std::int64_t month = std::int64_t{int(date.year())} * 12 + unsigned(date.month()) - 1;
    const auto start = [&](std::int64_t months) {
        const auto inYear = static_cast<unsigned>(months - FloorTo(months, 12));
        const year in(static_cast<int>(FloorTo(months, 12) / 12));
        return number(StartOf(local_days(in / std::chrono::month(inYear + 1) / 1)));
    };
    return {start(FloorTo(month, length)), start(FloorTo(month, length) + length)};
}

Stretch Frame::SessionAround(std::int64_t time) const {
    const local_days day = DayOf(sys_seconds(seconds(time)));
    const sys_seconds end = HasSessionEnd() ? zone.TimeOf(local_seconds(day) + sessionEnd) : StartOf(day + days(1));
    return {StartOf(day).time_since_epoch().count(), end.time_since_epoch().count()};
}

double Frame::Seconds() const {
    constexpr double DayLength = 86400.0, ShortestMonth = 28.0;
    const double units = static_cast<double>(length);
    return kind != FrameKind::Time ? 0.0
           : unit == Unit::Second  ? units
                                   : units * DayLength * (unit == Unit::Day ? 1.0 : ShortestMonth);
}

std::size_t Frame::MostBars(double barSeconds) const {
    if (kind == FrameKind::Count) return static_cast<std::size_t>(size);
    if (kind != FrameKind::Time) return 1;
    constexpr double MonthAtMost = 31.0 / 28.0, Minute = 60.0, DayLength = 86400.0;
    const double longest = Seconds() * (unit == Unit::Month ? MonthAtMost : 1.0);
    const double own = barSeconds > 0.0 ? barSeconds : IsBelowDay() ? Minute : DayLength;
    return static_cast<std::size_t>(std::clamp(std::ceil(longest / own), 1.0, 1e9));
}

}  // namespace sarvane::study
