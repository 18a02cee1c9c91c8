#pragma once

#include "interrupt.h"
#include "platform/file_system.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sarvane::study {

// Text of a file that others go on writing, or of a pipe. What they write behind the end is read on. If they put other
// text in the place of what was read, by another file of the same name or in the same file, it is read from the start.
class GrowingFile {
public:
    enum class State {
        More,        // text that follows on what was read so far
        CaughtUp,    // all that there is at present was read
        StartsOver,  // what was read so far is no longer in the file; text from its start comes next
        End,         // of a pipe, of a file that is not followed, or by a signal
    };
    struct Piece {
        State state;
        std::string_view text = {};
    };
    using Tell = std::function<void(const std::string&)>;

    // "-" is standard input. While one lives, an interrupt or a termination signal ends its text, perhaps in the middle of
    // a line, and not the program. `tell` is given what the user should know while nothing comes.
    GrowingFile(
        const std::string& path, bool follow, Tell tell = [](const std::string&) {});
    ~GrowingFile();
    GrowingFile(const GrowingFile&) = delete;
    GrowingFile& operator=(const GrowingFile&) = delete;

    const std::string& Name() const { return name; }
    // Whether it has an end at which it can be caught up with.
    bool IsRegular() const { return regular; }
    // Waits for more.
    Piece Read();
    // What made it start over, such as "was replaced".
    const std::string& Reason() const { return reason; }

private:
    using Clock = std::chrono::steady_clock;

    Piece Take(std::string_view text);
    std::string_view WhatHappened();
    bool HoldsWhatWasRead(const FileState& present);
    bool HoldsTail() const;
    bool HoldsAll() const;
    void WaitUntilQuiet() const;
    bool Reopen();

    InterruptWatch watch;
    std::string name;
    std::string path;
    int descriptor;
    bool regular;
    bool follow;
    Tell tell;
    std::string reason;
    bool isBehind = true;    // there may be more than what was read
    bool isMissing = false;  // at the last look
    FileState opened = {};
    std::vector<char> chunk;

    // What was read, to be compared with what the file holds.
    std::int64_t position = 0;
    std::uint64_t hash;
    std::string tail;
    std::optional<FileState> compared;  // when all of it was there
    Clock::time_point nextComparison;
};

}  // namespace sarvane::study
