#pragma once

// How bars are made of other bars, or of trades: a frame says which of them belong together.

#include "frames/zone.h"

#include <string>
#include <string_view>

namespace sarvane::study {

enum class FrameKind {
    Time,       // all of a stretch of time
    Count,      // so many in a row
    Volume,     // up to the one with which their volume reaches a size
    Value,      // up to the one with which volume times price reaches a size
    Range,      // as long as the highest and the lowest price lie no farther apart than a size
    Renko,      // bricks of one height, each a bar
    HeikinAshi  // one for each, with prices that are averages
};

// A stretch of time, in seconds since 1970, UTC. The end does not belong to it.
struct Stretch {
    std::int64_t begin = 0;
    std::int64_t end = 0;
};

class Frame {
public:
    // Reads a frame, in any letter case but for M, which is a month while 1m is refused:
    //
    //     1s 5min 1h 1d 1W 1M 1Y  [session's start, as in 09:30, or start-end]  [zone]
    //     100ticks 5bars 10000volume 1e6value 2.5range 2renko heikinashi
    //
    // A day begins at the session's start by the clocks of the zone: at midnight and in UTC where these are not given.
    // Seconds, minutes and hours are counted from there on. Weeks begin on Monday, months on the first.
    static Outcome<Frame> Read(std::string_view text);

    FrameKind Kind() const { return kind; }
    // As `Read` takes it, with one blank between its words.
    const std::string& Text() const { return text; }
    // What `Kind` asks for: a count, volume, value, range or height.
    double Size() const { return size; }

    // The rest is for frames of time.

    bool IsBelowDay() const { return unit == Unit::Second; }
    Stretch Around(std::int64_t time) const;
    // Whether the session has an end of its own, not the start of the next one.
    bool HasSessionEnd() const { return sessionEnd > sessionStart; }
    // The session of the day that a time belongs to. Without an end it is a whole day long.
    Stretch SessionAround(std::int64_t time) const;
    // How many bars of so many seconds a bar of the frame can hold. A length of 0 is not known: it counts as a minute, or
    // as a day in frames of a day and longer. It is 1 for frames that go by volume or price, where nobody knows.
    std::size_t MostBars(double barSeconds) const;
    // The length of a stretch in seconds, the shortest one where months differ; 0 for frames that are not of time.
    double Seconds() const;
    const Zone& Clocks() const { return zone; }
    bool IsInUtc() const { return isInUtc; }

private:
    enum class Unit { Second, Day, Month };

    std::chrono::sys_seconds StartOf(std::chrono::local_days day) const;
    std::chrono::local_days DayOf(std::chrono::sys_seconds time) const;

    FrameKind kind = FrameKind::Time;
    std::string text;
    double size = 0.0;
    Unit unit = Unit::Second;
    std::int64_t length = 0;  // in that unit
    bool startsOnMonday = false;
    std::chrono::seconds sessionStart{};
    std::chrono::seconds sessionEnd{};
    Zone zone;
    bool isInUtc = true;  // no zone was given
};

}  // namespace sarvane::study
