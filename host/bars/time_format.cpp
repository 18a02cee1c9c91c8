#include "bars/time_format.h"

#include "bars/number_format.h"
#include "language/parser.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fmt/format.h>
#include <utility>

namespace sarvane::study {
namespace {

namespace chrono = std::chrono;

constexpr std::string_view PatternLetters = "YymdHIMSfpbz%";

// Formats that options and messages name by a word.
struct FormatWord {
    std::string_view word;
    TimeFormat::Kind kind;
    DateOrder order;
    std::int64_t unitsASecond;
};
constexpr FormatWord FormatWords[] = {
    {"unix", TimeFormat::Kind::Unix, DateOrder::Unknown, 1},
    {"unix-ms", TimeFormat::Kind::Unix, DateOrder::Unknown, 1000},
    {"unix-us", TimeFormat::Kind::Unix, DateOrder::Unknown, 1'000'000},
    {"unix-ns", TimeFormat::Kind::Unix, DateOrder::Unknown, 1'000'000'000},
    {"day-first", TimeFormat::Kind::Text, DateOrder::DayFirst, 1},
    {"month-first", TimeFormat::Kind::Text, DateOrder::MonthFirst, 1},
};

bool AllDigits(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

std::optional<std::int64_t> NumberOf(std::string_view digits) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return number;
}

// Twelve or fourteen digits, such as 20200103093000, with a blank behind the date. Other texts as they are.
std::string WithBlankBehindDate(std::string_view text) {
    if (!AllDigits(text) || (text.size() != 12 && text.size() != 14)) return std::string(text);
    return fmt::format("{} {}", text.substr(0, 8), text.substr(8));
}

// A time of day in three or five digits lacks the zero of its hour.
std::string WholeClock(std::string_view clock) {
    if (AllDigits(clock) && (clock.size() == 3 || clock.size() == 5)) return '0' + std::string(clock);
    if (clock == "0" || clock == "00") return "000000";
    return std::string(clock);
}

std::string TextOfUnixTime(const TimeFormat& format, std::int64_t count, std::int64_t nanoseconds) {
    const std::int64_t units = format.unitsASecond;
    const std::int64_t second = count / units - (count % units < 0);
    nanoseconds += (count - second * units) * (1'000'000'000 / units);
    const chrono::sys_seconds time{chrono::seconds(second)};
    const auto day = chrono::floor<chrono::days>(time);
    const chrono::year_month_day date(day);
    std::string text = fmt::format("{:04}-{:02}-{:02}", static_cast<int>(date.year()),
                                   static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
    const chrono::hh_mm_ss clock(time - day);
    if (format.onlyDays && clock.to_duration() == chrono::seconds(0) && nanoseconds == 0) return text;
    text += fmt::format(" {:02}:{:02}:{:02}", clock.hours().count(), clock.minutes().count(), clock.seconds().count());
    if (nanoseconds == 0) return text;
    std::string fraction = fmt::format(".{:09}", nanoseconds);
    fraction.erase(fraction.find_last_not_of('0') + 1);
    return text + fraction;
}

// A whole number, perhaps with decimals that are zeros, or decimals of seconds.
std::optional<std::string> NormalUnixTime(const TimeFormat& format, std::string_view text) {
    const std::size_t point = std::min(text.find('.'), text.size());
    const auto count = NumberOf(text.substr(0, point));
    constexpr std::int64_t Furthest = 253'402'300'799;  // in the year 9999
    if (!count || *count / format.unitsASecond > Furthest || *count / format.unitsASecond < -Furthest / 4)
        return std::nullopt;
    std::string decimals(text.substr(std::min(point + 1, text.size())));
    if (decimals.find_first_not_of('0') == std::string::npos) return TextOfUnixTime(format, *count, 0);
    decimals.resize(9, '0');
    const auto nanoseconds = NumberOf(decimals);
    if (!nanoseconds || *nanoseconds < 0 || format.unitsASecond != 1 || *count < 0) return std::nullopt;
    return TextOfUnixTime(format, *count, *nanoseconds);
}

// Reads a text as a pattern says and writes it in the form of ISO 8601.
class PatternReader {
public:
    explicit PatternReader(std::string_view whole) : text(whole) {}

    std::optional<std::string> Read(std::string_view pattern) {
        for (std::size_t i = 0; i < pattern.size(); ++i) {
            const bool fits = pattern[i] == '%' && i + 1 < pattern.size() ? TakePart(pattern[++i]) : Take(pattern[i]);
            if (!fits) return std::nullopt;
        }
        if (!text.empty()) return std::nullopt;
        if (isAfternoon && (hour < 1 || hour > 12)) return std::nullopt;
        if (isAfternoon) hour = hour % 12 + (*isAfternoon ? 12 : 0);
        std::string iso = fmt::format("{:04}-{:02}-{:02}", year, month, day);
        if (hour >= 0)
            iso += fmt::format(" {:02}:{:02}:{:02}{}", hour, std::max(minute, 0), std::max(second, 0), fraction);
        return iso + zone;
    }

private:
    bool Take(char c) {
        if (!text.starts_with(c)) return false;
        text.remove_prefix(1);
        return true;
    }
    bool TakeNumber(std::size_t most, int& number) {
        std::size_t length = 0;
        while (length < std::min(most, text.size()) && AllDigits(text.substr(length, 1))) ++length;
        number = static_cast<int>(NumberOf(text.substr(0, length)).value_or(-1));
        text.remove_prefix(length);
        return length > 0;
    }
    bool TakeMonthName() {
        static constexpr std::array<std::string_view, 12> names = {"january",   "february", "march",    "april",
                                                                   "may",       "june",     "july",     "august",
                                                                   "september", "october",  "november", "december"};
        for (std::size_t i = 0; i < names.size(); ++i) {
            for (const std::string_view name : {names[i], names[i].substr(0, 3)}) {
                if (!EqualIgnoringCase(text.substr(0, name.size()), name)) continue;
                month = static_cast<int>(i) + 1;
                text.remove_prefix(name.size());
                return true;
            }
        }
        return false;
    }
    bool TakePart(char letter) {
        switch (letter) {
        case 'Y': return TakeNumber(4, year);
        case 'y':
            if (!TakeNumber(2, year)) return false;
            year += year < 70 ? 2000 : 1900;
            return true;
        case 'm': return TakeNumber(2, month);
        case 'd': return TakeNumber(2, day);
        case 'H':
        case 'I': return TakeNumber(2, hour);
        case 'M': return TakeNumber(2, minute);
        case 'S': return TakeNumber(2, second);
        case 'b': return TakeMonthName();
        case 'f': {
            std::size_t length = 0;
            while (length < std::min<std::size_t>(9, text.size()) && AllDigits(text.substr(length, 1))) ++length;
            fraction = length > 0 ? '.' + std::string(text.substr(0, length)) : std::string();
            text.remove_prefix(length);
            return length > 0;
        }
        case 'p':
            if (!EqualIgnoringCase(text.substr(0, 2), "am") && !EqualIgnoringCase(text.substr(0, 2), "pm"))
                return false;
            isAfternoon = EqualIgnoringCase(text.substr(0, 2), "pm");
            text.remove_prefix(2);
            return true;
        case 'z':
            zone = text;
            text = {};
            return !zone.empty();
        default: return Take(letter);
        }
    }

    std::string_view text;
    int year = 0, month = 0, day = -1, hour = -1, minute = -1, second = -1;
    std::string fraction, zone;
    std::optional<bool> isAfternoon;
};

}  // namespace

std::optional<TimeFormat> TimeFormatOf(std::string_view text) {
    for (const FormatWord& known : FormatWords) {
        if (EqualIgnoringCase(text, known.word))
            return TimeFormat{known.kind, known.order, known.unitsASecond, false, {}};
    }
    if (text.find('%') == std::string_view::npos) return std::nullopt;
    std::string letters;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') continue;
        if (++i == text.size() || PatternLetters.find(text[i]) == std::string_view::npos) return std::nullopt;
        letters += text[i];
    }
    const auto hasOneOf = [&](const char* these) { return letters.find_first_of(these) != std::string::npos; };
    if (!hasOneOf("Yy") || !hasOneOf("mb") || !hasOneOf("d")) return std::nullopt;
    return TimeFormat{TimeFormat::Kind::Pattern, {}, 1, false, std::string(text)};
}

std::string TextOf(const TimeFormat& format) {
    if (format.kind == TimeFormat::Kind::Pattern) return format.pattern;
    for (const FormatWord& known : FormatWords) {
        if (known.kind == format.kind && known.order == format.order && known.unitsASecond == format.unitsASecond)
            return std::string(known.word);
    }
    return "text";
}

std::optional<TimeFormat> ShortYearFormatOf(const std::vector<std::string_view>& texts) {
    if (texts.empty()) return std::nullopt;
    const std::size_t first = texts[0].find_first_of("/-."), clock = texts[0].find(' ');
    if (first == 0 || first > 2) return std::nullopt;
    const std::string_view rest = clock == std::string_view::npos          ? ""
                                  : std::ranges::count(texts[0], ':') == 2 ? " %H:%M:%S"
                                                                           : " %H:%M";
    std::optional<TimeFormat> found;
    for (const char* const letters : {"mdy", "dmy", "ymd"}) {
        const char separator = texts[0][first];
        const TimeFormat format{
            TimeFormat::Kind::Pattern,
            {},
            1,
            false,
            fmt::format("%{1}{0}%{2}{0}%{3}{4}", separator, letters[0], letters[1], letters[2], rest)};
        std::vector<BarTime> times;
        for (const std::string_view text : texts) {
            const auto normal = NormalTime(format, text, {});
            const auto time = normal ? ParseTime(*normal) : std::nullopt;
            if (time) times.push_back(time->Time());
        }
        const bool inOrder = std::ranges::is_sorted(times) || std::ranges::is_sorted(times, std::ranges::greater());
        if (times.size() < texts.size() || !inOrder) continue;
        if (found) return std::nullopt;
        found = format;
    }
    return found;
}

std::optional<std::int64_t> UnixUnitsOf(std::string_view text) {
    const std::size_t point = text.find('.');
    if (point != std::string_view::npos && !AllDigits(text.substr(point + 1))) return std::nullopt;
    const std::string_view digits = text.substr(0, point);
    if (!AllDigits(digits)) return std::nullopt;
    if (point == std::string_view::npos && ParseTime(WithBlankBehindDate(digits))) return std::nullopt;
    switch (digits.size()) {
    case 9:
    case 10: return 1;
    case 12:
    case 13: return 1000;
    case 15:
    case 16: return 1'000'000;
    case 18:
    case 19: return 1'000'000'000;
    default: return std::nullopt;
    }
}

bool IsClock(std::string_view text) {
    text = WithoutBlanks(text);
    return !text.empty() && ParseTime(fmt::format("2000-01-01 {}", WholeClock(text))).has_value();
}

std::optional<std::string> NormalTime(const TimeFormat& format, std::string_view date, std::string_view clock) {
    std::string whole;
    if (!clock.empty() && format.kind != TimeFormat::Kind::Text) {
        whole = fmt::format("{} {}", date, clock);
        date = whole;
    }
    switch (format.kind) {
    case TimeFormat::Kind::Unix: return NormalUnixTime(format, date);
    case TimeFormat::Kind::Pattern: return PatternReader(date).Read(format.pattern);
    case TimeFormat::Kind::Text: break;
    }
    std::string text = WithBlankBehindDate(date);
    if (!clock.empty()) text.append(" ").append(WholeClock(clock));
    return text;
}

}  // namespace sarvane::study
