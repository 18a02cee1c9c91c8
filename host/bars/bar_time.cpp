#include "bars/bar_time.h"

#include "failure.h"
#include "language/parser.h"

#include <algorithm>
#include <array>
#include <utility>

namespace sarvane::study {
namespace {

using namespace std::chrono_literals;
namespace chrono = std::chrono;

constexpr std::array<std::string_view, 12> MonthNames = {"January",   "February", "March",    "April",
                                                         "May",       "June",     "July",     "August",
                                                         "September", "October",  "November", "December"};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

struct Digits {
    int number = 0;
    std::size_t count = 0;
};

// Takes the parts of a text from left to right.
class Scanner {
public:
    explicit Scanner(std::string_view text) : rest(text) {
        TakeBlanks();
        while (!rest.empty() && IsBlank(rest.back())) rest.remove_suffix(1);
    }

    bool AtEnd() const { return rest.empty(); }
    bool TakeBlanks() {
        const std::size_t before = rest.size();
        while (!rest.empty() && IsBlank(rest.front())) rest.remove_prefix(1);
        return rest.size() < before;
    }
    bool Take(char c) { return TakeOneOf({&c, 1}) != '\0'; }
    // The character, or a null character if none of these comes next.
    char TakeOneOf(std::string_view characters) {
        if (rest.empty() || characters.find(rest.front()) == std::string_view::npos) return '\0';
        const char taken = rest.front();
        rest.remove_prefix(1);
        return taken;
    }
    // All digits that come next, nine at most.
    std::optional<Digits> TakeDigits() {
        Digits digits;
        while (digits.count < rest.size() && IsDigit(rest[digits.count])) {
            if (digits.count == 9) return std::nullopt;
            digits.number = digits.number * 10 + (rest[digits.count++] - '0');
        }
        if (digits.count == 0) return std::nullopt;
        rest.remove_prefix(digits.count);
        return digits;
    }
    std::string_view TakeLetters() {
        const auto end = std::ranges::find_if_not(rest, IsLetter);
        const std::string_view letters = rest.substr(0, static_cast<std::size_t>(end - rest.begin()));
        rest.remove_prefix(letters.size());
        return letters;
    }

private:
    static bool IsBlank(char c) { return c == ' ' || c == '\t'; }

    std::string_view rest;
};

// 1 for January, by its whole name or the first three letters; 0 for other texts.
int MonthOf(std::string_view name) {
    const auto found = std::ranges::find_if(MonthNames, [&](std::string_view month) {
        return EqualIgnoringCase(name, month) || EqualIgnoringCase(name, month.substr(0, 3));
    });
    return found == MonthNames.end() ? 0 : static_cast<int>(found - MonthNames.begin()) + 1;
}

chrono::year_month_day Date(int year, int month, int day) {
    return {chrono::year(year), chrono::month(static_cast<unsigned>(month)), chrono::day(static_cast<unsigned>(day))};
}

// Two numbers and a year, which come in this order.
std::optional<ParsedTime> DateWithYearBehind(int first, int second, int year, DateOrder order) {
    ParsedTime time;
    const bool canBeMonthFirst = first <= 12, canBeDayFirst = second <= 12;
    time.couldBeEither = canBeMonthFirst && canBeDayFirst && first != second;
    if (canBeMonthFirst != canBeDayFirst) time.shows = canBeMonthFirst ? DateOrder::MonthFirst : DateOrder::DayFirst;
    if (order == DateOrder::Unknown) order = time.shows;
    time.date = order == DateOrder::DayFirst ? Date(year, second, first) : Date(year, first, second);
    return time;
}

std::optional<ParsedTime> TakeDateOfDigits(Scanner& text, Digits first, DateOrder order) {
    if (first.count == 8) return ParsedTime{Date(first.number / 10000, first.number / 100 % 100, first.number % 100)};
    const char separator = text.TakeOneOf("-/.");
    if (separator == '\0') return std::nullopt;
    const auto second = text.TakeDigits();
    if (!second || second->count > 2 || !text.Take(separator)) return std::nullopt;
    const auto third = text.TakeDigits();
    if (!third) return std::nullopt;
    if (first.count == 4 && third->count <= 2) return ParsedTime{Date(first.number, second->number, third->number)};
    if (first.count > 2 || third->count != 4) return std::nullopt;
    if (separator == '.') return ParsedTime{Date(third->number, second->number, first.number)};
    return DateWithYearBehind(first.number, second->number, third->number, order);
}

// Such as 3-Jan-2020 from behind its day on.
std::optional<ParsedTime> TakeDateWithDayAhead(Scanner& text, Digits day) {
    const char separator = text.TakeOneOf("-/ ");
    const int month = MonthOf(text.TakeLetters());
    if (separator != '\0') text.Take(separator);
    const auto year = text.TakeDigits();
    if (day.count > 2 || month == 0 || !year || year->count != 4) return std::nullopt;
    return ParsedTime{Date(year->number, month, day.number)};
}

// Such as Jan 3, 2020.
std::optional<ParsedTime> TakeDateWithMonthAhead(Scanner& text) {
    const int month = MonthOf(text.TakeLetters());
    text.TakeBlanks();
    const auto day = text.TakeDigits();
    text.Take(',');
    text.TakeBlanks();
    const auto year = text.TakeDigits();
    if (month == 0 || !day || day->count > 2 || !year || year->count != 4) return std::nullopt;
    return ParsedTime{Date(year->number, month, day->number)};
}

std::optional<ParsedTime> TakeDate(Scanner& text, DateOrder order) {
    const Scanner begin = text;
    const auto first = text.TakeDigits();
    if (!first) return TakeDateWithMonthAhead(text);
    if (auto date = TakeDateOfDigits(text, *first, order)) return date;
    text = begin;
    text.TakeDigits();
    return TakeDateWithDayAhead(text, *first);
}

std::optional<chrono::nanoseconds> TakeFraction(Scanner& text) {
    if (text.TakeOneOf(".,") == '\0') return 0ns;
    const auto digits = text.TakeDigits();
    if (!digits) return std::nullopt;
    std::int64_t count = digits->number;
    for (std::size_t i = digits->count; i < 9; ++i) count *= 10;
    return chrono::nanoseconds(count);
}

// AM or PM, if one of them comes next, turns an hour of 1 to 12 into one of the day. Below 0 for other hours.
int TakeHalfOfDay(Scanner& text, int hour) {
    const Scanner begin = text;
    text.TakeBlanks();
    const std::string_view half = text.TakeLetters();
    if (half.empty()) return hour;
    const bool isAfternoon = EqualIgnoringCase(half, "PM");
    if (!isAfternoon && !EqualIgnoringCase(half, "AM")) {
        text = begin;
        return hour;
    }
    return hour < 1 || hour > 12 ? -1 : hour % 12 + (isAfternoon ? 12 : 0);
}

std::optional<chrono::nanoseconds> TakeClock(Scanner& text) {
    const auto first = text.TakeDigits();
    if (!first) return std::nullopt;
    int hour = first->number, minute = 0, second = 0;
    bool mayHaveFraction = true;
    if (first->count == 4) {
        hour = first->number / 100, minute = first->number % 100;
        mayHaveFraction = false;
    } else if (first->count == 6) {
        hour = first->number / 10000, minute = first->number / 100 % 100, second = first->number % 100;
    } else {
        const auto minutes = first->count <= 2 && text.Take(':') ? text.TakeDigits() : std::nullopt;
        if (!minutes || minutes->count != 2) return std::nullopt;
        minute = minutes->number;
        mayHaveFraction = text.Take(':');
        if (mayHaveFraction) {
            const auto seconds = text.TakeDigits();
            if (!seconds || seconds->count != 2) return std::nullopt;
            second = seconds->number;
        }
    }
    const auto fraction = mayHaveFraction ? TakeFraction(text) : 0ns;
    hour = TakeHalfOfDay(text, hour);
    if (!fraction || hour < 0 || hour > 23 || minute > 59 || second > 59) return std::nullopt;
    return chrono::hours(hour) + chrono::minutes(minute) + chrono::seconds(second) + *fraction;
}

// Nothing if what comes next is no zone.
std::optional<chrono::minutes> TakeZone(Scanner& text) {
    const char sign = text.TakeOneOf("+-");
    if (sign == '\0') {
        const std::string_view name = text.TakeLetters();
        const bool hasName = EqualIgnoringCase(name, "UTC") || EqualIgnoringCase(name, "GMT");
        if (hasName && !text.AtEnd()) return TakeZone(text);  // such as GMT+0200
        return hasName || EqualIgnoringCase(name, "Z") ? std::optional(0min) : std::nullopt;
    }
    const auto first = text.TakeDigits();
    if (!first || (first->count != 2 && first->count != 4)) return std::nullopt;
    int hours = first->number, minutes = 0;
    if (first->count == 4) {
        hours = first->number / 100, minutes = first->number % 100;
    } else if (text.Take(':')) {
        const auto second = text.TakeDigits();
        if (!second || second->count != 2) return std::nullopt;
        minutes = second->number;
    }
    if (hours > 23 || minutes > 59) return std::nullopt;
    const chrono::minutes ahead = chrono::hours(hours) + chrono::minutes(minutes);
    return sign == '-' ? -ahead : ahead;
}

// Three short numbers, of which any could be the year.
bool HasShortYear(std::string_view text) {
    Scanner scanner(text);
    for (int number = 0; number < 3; ++number) {
        if (number > 0 && scanner.TakeOneOf("-/.") == '\0') return false;
        const auto digits = scanner.TakeDigits();
        if (!digits || digits->count > 2) return false;
    }
    return true;
}

// Three numbers, as most dates have them, even if the calendar has no such day.
bool HasDateShape(std::string_view text) {
    Scanner scanner(text);
    for (int number = 0; number < 3; ++number) {
        if (number > 0 && scanner.TakeOneOf("-/.") == '\0') return false;
        if (!scanner.TakeDigits()) return false;
    }
    return true;
}

// The usual forms, 2020-01-03 and 2020-01-03 09:30 with or without seconds, without the ways round that others need.
std::optional<ParsedTime> ParseUsualTime(std::string_view text) {
    if (text.size() != 10 && text.size() != 16 && text.size() != 19) return std::nullopt;
    bool fits = true;
    const auto number = [&](std::size_t at, std::size_t length) {
        int value = 0;
        for (std::size_t i = at; i < at + length; ++i) {
            fits = fits && IsDigit(text[i]);
            value = value * 10 + (text[i] - '0');
        }
        return value;
    };
    const int year = number(0, 4), month = number(5, 2), day = number(8, 2);
    fits = fits && text[4] == '-' && text[7] == '-';
    if (text.size() == 10) return fits ? std::optional(ParsedTime{Date(year, month, day)}) : std::nullopt;
    const int hour = number(11, 2), minute = number(14, 2), second = text.size() == 19 ? number(17, 2) : 0;
    fits = fits && (text[10] == ' ' || text[10] == 'T') && text[13] == ':' && (text.size() == 16 || text[16] == ':');
    if (!fits || hour > 23 || minute > 59 || second > 59) return std::nullopt;
    return ParsedTime{Date(year, month, day), chrono::hours(hour) + chrono::minutes(minute) + chrono::seconds(second)};
}

}  // namespace

BarTime ParsedTime::Time() const {
    const chrono::nanoseconds sinceMidnight = clock.value_or(0ns);
    const auto seconds = chrono::floor<chrono::seconds>(sinceMidnight);
    return {chrono::sys_days(date) + seconds - zone.value_or(0min), sinceMidnight - seconds};
}

std::string ParsedTime::IsoText() const {
    std::string text = fmt::format("{:04}-{:02}-{:02}", static_cast<int>(date.year()),
                                   static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
    if (!clock) return text;
    const chrono::hh_mm_ss time(*clock);
    text += fmt::format(" {:02}:{:02}:{:02}", time.hours().count(), time.minutes().count(), time.seconds().count());
    if (time.subseconds() > 0ns) text += fmt::format(".{:09}", time.subseconds().count());
    if (!zone) return text;
    const chrono::minutes size = *zone < 0min ? -*zone : *zone;
    return text + fmt::format("{}{:02}:{:02}", *zone < 0min ? '-' : '+', size.count() / 60, size.count() % 60);
}

std::optional<ParsedTime> ParseTime(std::string_view whole, DateOrder order) {
    if (const auto usual = ParseUsualTime(whole); usual && usual->date.ok()) return usual;
    Scanner text(whole);
    auto time = TakeDate(text, order);
    if (!time || !time->date.ok()) return std::nullopt;
    if (text.AtEnd()) return time;
    if (!text.TakeBlanks() && text.TakeOneOf("Tt") == '\0') return std::nullopt;
    time->clock = TakeClock(text);
    if (!time->clock) return std::nullopt;
    text.TakeBlanks();
    if (text.AtEnd()) return time;
    time->zone = TakeZone(text);
    if (!time->zone || !text.AtEnd()) return std::nullopt;
    return time;
}

bool HasIsoForm(std::string_view text) {
    const auto fits = [&](std::string_view form) {
        if (text.size() < form.size()) return false;
        for (std::size_t i = 0; i < form.size(); ++i) {
            if (form[i] == '0'   ? !IsDigit(text[i])
                : form[i] == 'T' ? text[i] != 'T' && text[i] != ' '
                                 : text[i] != form[i])
                return false;
        }
        return true;
    };
    return (fits("0000-00-00") && (text.size() == 10 || fits("0000-00-00T00:00"))) ||
           (fits("00000000") && (text.size() == 8 || fits("00000000T00:00")));
}

std::optional<BarTime> TimeReader::Note(std::string_view text) {
    if (const auto time = ParseTime(text, order)) {
        column = Column::Times;
        NoteTime(text, *time);
        const bool isCertain = !time->couldBeEither && time->shows == DateOrder::Unknown;
        return isCertain ? std::optional(time->Time()) : std::nullopt;
    }
    if (ParseTime(text) || HasDateShape(text)) {
        column = Column::Times;
    } else if (column == Column::Unknown && firstWord.empty()) {
        firstWord = text;
    }
    return std::nullopt;
}

void TimeReader::Decide() {
    if (column == Column::Unknown && !firstWord.empty()) NoteWords(firstWord);
    if (column == Column::Times && order == DateOrder::Unknown && !orderExample.empty()) {
        order = DateOrder::MonthFirst;
        orderIsAssumed = true;
        notices.push_back(fmt::format("dates such as {} are read as month, day, year: no line tells which comes first",
                                      Quoted(orderExample)));
    }
}

BarTime TimeReader::Read(std::string_view text) {
    if (text.empty()) Fail("a line without a time");
    if (column == Column::Unknown) {
        Note(text);
        Decide();
    }
    if (column == Column::Words) {
        const auto next = static_cast<std::int64_t>(places.size());
        return {chrono::sys_seconds(chrono::seconds(places.try_emplace(std::string(text), next).first->second))};
    }
    const auto time = ParseTime(text, order);
    if (time) {
        NoteTime(text, *time);
        Decide();
        return time->Time();
    }
    if (ParseTime(text)) Fail("{} has day and month the other way round than {}", Quoted(text), Quoted(orderExample));
    Fail("{} is no time{}", Quoted(text), HasShortYear(text) ? "; --time-format says how times are written" : "");
}

bool TimeReader::WasMisled(std::string_view text) const {
    return orderIsAssumed && !ParseTime(text, order) && ParseTime(text);
}

TimeReader TimeReader::Corrected(std::string_view text) const {
    TimeReader other = *this;
    other.order = DateOrder::DayFirst;
    other.orderIsAssumed = false;
    other.orderExample = text;
    other.notices.push_back(fmt::format("{} tells that the day comes first: so are all dates read now", Quoted(text)));
    return other;
}

std::vector<std::string> TimeReader::TakeNotices() { return std::exchange(notices, {}); }

void TimeReader::NoteTime(std::string_view text, const ParsedTime& time) {
    const bool hadBoth = someHaveZones && someHaveNoZones;
    (time.zone ? someHaveZones : someHaveNoZones) = true;
    if (!hadBoth && someHaveZones && someHaveNoZones)
        notices.push_back("some times have a zone and others have none, which are taken as UTC");
    if (order != DateOrder::Unknown && !orderIsAssumed) return;
    if (time.shows != DateOrder::Unknown) {
        order = time.shows;
        orderIsAssumed = false;
        orderExample = text;
    } else if (time.couldBeEither && orderExample.empty()) {
        orderExample = text;
    }
}

void TimeReader::NoteWords(std::string_view text) {
    column = Column::Words;
    notices.push_back(fmt::format("{} is no time, so that bars stay in the order in which they come", Quoted(text)));
}

}  // namespace sarvane::study
