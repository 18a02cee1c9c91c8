#include "growing_file.h"

#include "failure.h"
#include "path.h"
#include "platform/system.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <thread>
#include <unistd.h>
#include <utility>

namespace sarvane::study {
namespace {

using namespace std::chrono_literals;

constexpr int LookEvery = 20;                        // milliseconds, below what an eye notices
constexpr int QuietLooks = 5;                        // without a change: nobody is in the middle of writing
constexpr int MostLooks = 100;                       // for that
constexpr std::size_t LongestTail = 4096;            // compared at each change
constexpr int ComparisonShare = 20;                  // comparing all takes one part of so many of the time
constexpr std::int64_t CoarseClock = 2'000'000'000;  // nanoseconds: two changes of a file can have one time

constexpr std::uint64_t EmptyHash = 0xCBF29CE484222325;  // of FNV-1a

std::uint64_t HashBehind(std::uint64_t hash, std::string_view text) {
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    return hash;
}

void Sleep() { std::this_thread::sleep_for(std::chrono::milliseconds(LookEvery)); }

}  // namespace

GrowingFile::GrowingFile(const std::string& file, bool followIt, Tell tellUser)
    : name(file == "-" ? "standard input" : file), path(file),
      descriptor(file == "-" ? StandardInput() : OpenToRead(file)), follow(followIt), tell(std::move(tellUser)),
      chunk(1 << 16), hash(EmptyHash) {
    const auto state = descriptor < 0 ? std::nullopt : StateOf(descriptor);
    if (!state) Fail("{}: {}", name, std::strerror(errno));
    opened = *state;
    regular = file != "-" && opened.isRegular;
}

GrowingFile::~GrowingFile() {
    if (descriptor != StandardInput()) close(descriptor);
}

GrowingFile::Piece GrowingFile::Read() {
    while (!Interrupted()) {
        if (regular && !isBehind) {
            const std::string_view what = WhatHappened();
            if (!what.empty()) {
                WaitUntilQuiet();
                reason = what;
                if (Reopen()) return {State::StartsOver};
            }
        }
        if (!WaitForText(descriptor, LookEvery)) continue;
        const long long length = ReadText(descriptor, chunk.data(), chunk.size());
        if (length < 0 && errno == EINTR) continue;
        if (length < 0) Fail("{}: {}", name, std::strerror(errno));
        if (length > 0) return Take({chunk.data(), static_cast<std::size_t>(length)});
        if (!regular || !follow) break;
        if (std::exchange(isBehind, false)) return {State::CaughtUp};
        Sleep();
    }
    return {State::End};
}

GrowingFile::Piece GrowingFile::Take(std::string_view text) {
    isBehind = true;
    if (regular && follow) {
        position += static_cast<std::int64_t>(text.size());
        hash = HashBehind(hash, text);
        tail += text.substr(text.size() - std::min(text.size(), LongestTail));
        tail.erase(0, tail.size() - std::min(tail.size(), LongestTail));
        compared.reset();
    }
    return {State::More, text};
}

// Empty as long as the file still begins with what was read.
std::string_view GrowingFile::WhatHappened() {
    const auto present = StateOf(PathOf(path));
    if (!present || !present->isRegular) {
        if (!std::exchange(isMissing, true))
            tell(fmt::format("{}: {}; waiting for it", name, present ? "not a file" : std::strerror(errno)));
        return {};
    }
    isMissing = false;
    if (!present->IsSameFile(opened)) return "was replaced";
    if (present->size < position) return "has become shorter";
    return HoldsWhatWasRead(*present) ? std::string_view() : "was rewritten";
}

// Comparing all of a long file at each change would take longer than the change, so that in between its tail must do. A
// file can be changed again without a new time as long as its time is the present one.
bool GrowingFile::HoldsWhatWasRead(const FileState& present) {
    if (compared == present) return true;
    if (!HoldsTail()) return false;
    const auto start = Clock::now();
    if (start < nextComparison) return true;
    const bool isOld = FileClock() - present.modified > CoarseClock;
    if (!HoldsAll()) return false;
    nextComparison = Clock::now() + (Clock::now() - start) * ComparisonShare;
    if (isOld) compared = present;
    return true;
}

bool GrowingFile::HoldsTail() const {
    std::ifstream file(PathOf(path), std::ios::binary);
    file.seekg(position - static_cast<std::int64_t>(tail.size()));
    std::string present(tail.size(), '\0');
    return !file.read(present.data(), static_cast<std::streamsize>(present.size())) || present == tail;
}

// A file that can't be read just now is looked at again.
bool GrowingFile::HoldsAll() const {
    std::ifstream file(PathOf(path), std::ios::binary);
    std::vector<char> text(1 << 16);
    std::uint64_t present = EmptyHash;
    for (std::int64_t left = position; left > 0;) {
        const auto wanted = std::min<std::int64_t>(left, static_cast<std::int64_t>(text.size()));
        if (!file.read(text.data(), wanted)) return true;
        present = HashBehind(present, {text.data(), static_cast<std::size_t>(wanted)});
        left -= wanted;
    }
    return present == hash;
}

void GrowingFile::WaitUntilQuiet() const {
    auto before = StateOf(PathOf(path));
    for (int looks = 0, quiet = 0; looks < MostLooks && quiet < QuietLooks && !Interrupted(); ++looks) {
        Sleep();
        const auto present = StateOf(PathOf(path));
        quiet = present && present == before ? quiet + 1 : 0;
        before = present;
    }
}

bool GrowingFile::Reopen() {
    const int other = OpenToRead(path);
    const auto state = other < 0 ? std::nullopt : StateOf(other);
    if (!state || !state->isRegular) {
        if (other >= 0) close(other);
        return false;
    }
    close(std::exchange(descriptor, other));
    opened = *state;
    isBehind = true;
    position = 0;
    hash = EmptyHash;
    tail.clear();
    compared.reset();
    return true;
}

}  // namespace sarvane::study
