#include "frames/zone.h"

#include "frames/zone_list.h"
#include "language/parser.h"

#include <algorithm>
#include <charconv>
#include <span>
#include <string>

namespace sarvane::study {
namespace {

using namespace std::chrono;

// Numbers of a file, the highest byte first. Once it has ended all that follows is 0.
class Bytes {
public:
    explicit Bytes(std::string_view file) : rest(file) {}

    std::int64_t Number(std::size_t size) {
        std::uint64_t number = 0;
        const std::string_view taken = Take(size);
        for (const char byte : taken) number = number << 8 | static_cast<unsigned char>(byte);
        const auto unused = static_cast<unsigned>(64 - 8 * size);
        return static_cast<std::int64_t>(number << unused) >> unused;
    }
    std::string_view Take(std::uint64_t size) {
        isWhole &= size <= rest.size();
        const std::string_view taken = isWhole ? rest.substr(0, static_cast<std::size_t>(size)) : std::string_view();
        rest.remove_prefix(taken.size());
        return taken;
    }
    bool IsWhole() const { return isWhole; }

private:
    std::string_view rest;
    bool isWhole = true;
};

struct FileHead {
    bool isKnown;
    std::uint64_t utcMarks, standardMarks, leapSeconds, changes, kinds, letters;

    explicit FileHead(Bytes& bytes) {
        const std::string_view mark = bytes.Take(4), version = bytes.Take(1);
        isKnown = mark == "TZif" && version >= "2";
        bytes.Take(15);
        for (std::uint64_t* count : {&utcMarks, &standardMarks, &leapSeconds, &changes, &kinds, &letters}) {
            *count = static_cast<std::uint32_t>(bytes.Number(4));
        }
    }
};

// Reads from the left of a text as far as it goes.
class Words {
public:
    explicit Words(std::string_view whole) : rest(whole) {}

    bool Take(char sign) {
        const bool isNext = rest.starts_with(sign);
        rest.remove_prefix(isNext);
        return isNext;
    }
    // A name such as "CET" or "<+03>".
    bool TakeName() {
        const std::size_t length = rest.starts_with('<') ? rest.find('>') + 1 : rest.find_first_of("0123456789+-,");
        rest.remove_prefix(std::min(length, rest.size()));
        return length > 0;
    }
    int Number() {
        int number = 0;
        const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
        isGood &= error == std::errc();
        rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
        return number;
    }
    // [+-]hours[:minutes[:seconds]]
    seconds Clock() {
        const bool isNegative = Take('-');
        if (!isNegative) Take('+');
        seconds clock = hours(Number());
        if (Take(':')) clock += minutes(Number());
        if (Take(':')) clock += seconds(Number());
        return isNegative ? -clock : clock;
    }
    bool IsDone() const { return isGood && rest.empty(); }
    bool IsEmpty() const { return rest.empty(); }

private:
    std::string_view rest;
    bool isGood = true;
};

// The compiled file of a zone of the database, in any letter case; empty if it has no such zone.
std::string_view ZoneFile(std::string_view name) {
    std::string lower(name);
    for (char& c : lower) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    const std::span zones(AllZones.zones, AllZones.count);
    const auto found =
        std::ranges::lower_bound(zones, lower, {}, [](const ListedZone& zone) { return std::string_view(zone.name); });
    if (found == zones.end() || found->name != lower) return {};
    return {reinterpret_cast<const char*>(AllZones.bytes) + found->place, found->size};
}

}  // namespace

// The form of POSIX for the variable TZ, as far as the database uses it: "EST5EDT,M3.2.0,M11.1.0/2". Offsets there are
// those by which UTC is ahead.
std::optional<Zone::YearlyRule> Zone::ReadRule(std::string_view text) {
    YearlyRule rule;
    Words words(text);
    if (!words.TakeName()) return std::nullopt;
    rule.standard = rule.summer = -words.Clock();
    if (!words.IsEmpty()) {
        words.TakeName();
        rule.summer = words.Take(',') ? rule.standard + hours(1) : -words.Clock();
        words.Take(',');
        for (ChangeDay* const day : {&rule.summerBegins, &rule.summerEnds}) {
            if (!words.Take('M')) return std::nullopt;
            day->month = static_cast<unsigned>(words.Number());
            words.Take('.');
            day->week = static_cast<unsigned>(words.Number());
            words.Take('.');
            day->weekday = static_cast<unsigned>(words.Number());
            day->clock = words.Take('/') ? words.Clock() : seconds(hours(2));
            words.Take(',');
            if (!month(day->month).ok() || day->week < 1 || day->week > 5 || day->weekday > 6) return std::nullopt;
        }
    }
    return words.IsDone() ? std::optional(rule) : std::nullopt;
}

Outcome<Zone> Zone::Read(std::string_view file) {
    const Problem unreadable = {.message = "the zone's data can't be read"};
    Bytes bytes(file);
    const FileHead old(bytes);  // the same in 32 bits, for old programs
    bytes.Take(old.changes * 5 + old.kinds * 6 + old.letters + old.leapSeconds * 8 + old.standardMarks + old.utcMarks);
    const FileHead head(bytes);
    if (!old.isKnown || !head.isKnown || head.changes * 9 + head.kinds * 6 > file.size() || head.kinds == 0) {
        return unreadable;
    }
    Zone zone;
    for (std::uint64_t i = 0; i < head.changes; ++i) zone.changes.push_back({bytes.Number(8), 0});
    std::vector<std::size_t> kinds;  // by change
    for (std::uint64_t i = 0; i < head.changes; ++i) kinds.push_back(static_cast<unsigned char>(bytes.Number(1)));
    std::vector<std::int64_t> offsets;  // by kind
    for (std::uint64_t i = 0; i < head.kinds; ++i) {
        offsets.push_back(bytes.Number(4));
        bytes.Take(2);
    }
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        if (kinds[i] >= offsets.size()) return unreadable;
        zone.changes[i].offset = offsets[kinds[i]];
    }
    zone.first = offsets.front();
    bytes.Take(head.letters + head.leapSeconds * 12 + head.standardMarks + head.utcMarks + 1);
    std::string_view footer = file.substr(0, file.rfind('\n'));
    footer = footer.substr(footer.rfind('\n') + 1);
    const auto rule = ReadRule(footer);
    if (!bytes.IsWhole() || !rule) return unreadable;
    zone.last = *rule;
    return zone;
}

Outcome<Zone> Zone::Find(std::string_view name) {
    if (EqualIgnoringCase(name, "UTC") || EqualIgnoringCase(name, "Z")) return Zone();
    if (name.starts_with('+') || name.starts_with('-')) {
        Words words(name);
        const seconds offset = words.Clock();
        if (words.IsDone() && abs(offset) < days(1)) return Zone(offset);
    } else if (const std::string_view file = ZoneFile(name); !file.empty()) {
        return Read(file);
    }
    return Problem{.message = "there is no time zone \"" + std::string(name) +
                              "\"; write UTC, +01:00, or a name such as America/New_York"};
}

seconds Zone::YearlyRule::OffsetAt(sys_seconds time) const {
    if (!HasSummer()) return standard;
    const year present = year_month_day(floor<days>(time + standard)).year();
    const auto moment = [&](const ChangeDay& day, seconds offset) {
        const year_month in = present / month(day.month);
        const weekday on(day.weekday);
        const sys_days date = day.week == 5 ? sys_days(in / on[std::chrono::last]) : sys_days(in / on[day.week]);
        return sys_seconds(date) + day.clock - offset;
    };
    const sys_seconds begins = moment(summerBegins, standard), ends = moment(summerEnds, summer);
    const bool isSummer = begins < ends ? time >= begins && time < ends : time >= begins || time < ends;
    return isSummer ? summer : standard;
}

seconds Zone::OffsetAt(sys_seconds time) const {
    const std::int64_t second = time.time_since_epoch().count();
    if (changes.empty() || second >= changes.back().time) return last.OffsetAt(time);
    const auto next = std::ranges::upper_bound(changes, second, {}, &Change::time);
    return seconds(next == changes.begin() ? first : std::prev(next)->offset);
}

// The offsets of the day before and the day after are the only ones that can hold: no zone changes twice in two days.
sys_seconds Zone::TimeOf(local_seconds clock) const {
    const sys_seconds asUtc(clock.time_since_epoch());
    const seconds before = OffsetAt(asUtc - days(1)), after = OffsetAt(asUtc + days(1));
    if (OffsetAt(asUtc - before) == before) return asUtc - before;
    if (OffsetAt(asUtc - after) == after) return asUtc - after;
    // Left out: the change lies between the two.
    sys_seconds low = asUtc - std::max(before, after), high = asUtc - std::min(before, after);
    while (high - low > seconds(1)) {
        const sys_seconds middle = low + (high - low) / 2;
        (OffsetAt(middle) == before ? low : high) = middle;
    }
    return high;
}

}  // namespace sarvane::study
