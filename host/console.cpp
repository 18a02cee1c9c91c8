#include "console.h"

#include "failure.h"
#include "interrupt.h"
#include "platform/system.h"

#include <algorithm>
#include <boost/locale/utf.hpp>
#include <cerrno>
#include <cstring>
#include <utility>

namespace sarvane::study {
namespace {

constexpr std::size_t LongestWrite = 4096;  // of several lines; pipes take so much as a whole

std::string pending;  // lines for standard output
int outputError = 0;  // `errno` of the first write that failed

bool IsPlain(char c) { return c >= ' ' && c <= '~'; }

// Controls of ASCII and of Latin-1, separators of lines, and marks that turn the direction of writing.
bool MustBeEscaped(boost::locale::utf::code_point c) {
    const auto within = [&](auto first, auto last) { return c >= first && c <= last; };
    return within(0x00u, 0x1Fu) || within(0x7Fu, 0x9Fu) || c == 0x061Cu || within(0x200Eu, 0x200Fu) ||
           within(0x2028u, 0x202Eu) || within(0x2066u, 0x2069u);
}

// `kept` are control characters that stay.
std::string Escaped(std::string_view text, std::string_view kept) {
    const auto isHarmless = [&](char c) { return IsPlain(c) || kept.find(c) != std::string_view::npos; };
    if (std::ranges::all_of(text, isHarmless)) return std::string(text);
    std::string escaped;
    const char* const end = text.data() + text.size();
    for (const char *at = text.data(), *next = at; at != end; at = next) {
        const auto code = boost::locale::utf::utf_traits<char>::decode(next, end);
        if (!boost::locale::utf::is_valid_codepoint(code)) next = at + 1;
        if (next == at + 1 && !isHarmless(*at))
            escaped += fmt::format("\\x{:02x}", static_cast<unsigned char>(*at));
        else if (next > at + 1 && MustBeEscaped(code))
            escaped += fmt::format("\\u{:04x}", code);
        else
            escaped.append(at, next);
    }
    return escaped;
}

// Up to the end of the line that has begun, once a signal has come and `untilInterrupt` is set. False, with `errno`, if
// the text can't be written.
bool Write(int descriptor, std::string_view text, bool untilInterrupt) noexcept {
    for (bool lineHasBegun = false; !text.empty();) {
        std::string_view part = text;
        if (untilInterrupt && Interrupted()) {
            if (!lineHasBegun) return true;
            part = text.substr(0, text.find('\n') + 1);
        }
        const long long length = WriteText(descriptor, part.data(), part.size());
        if (length < 0 && errno == EINTR) continue;
        if (length < 0) return false;
        const auto written = static_cast<std::size_t>(length);
        if (written > 0) lineHasBegun = text[written - 1] != '\n';
        text.remove_prefix(written);
    }
    return true;
}

void WritePending() noexcept {
    if (outputError == 0 && !Write(StandardOutput(), pending, true)) outputError = errno;
    pending.clear();
}

// Asked once: it is a call of the system.
bool IsShownAtOnce() {
    static const bool isTerminal = IsTerminal(StandardOutput());
    return isTerminal;
}

}  // namespace

std::string Shown(std::string_view text) { return Escaped(text, ""); }

void Print(std::string_view lines) { PrintShown(Escaped(lines, "\n")); }

void PrintData(std::string_view lines) { IsShownAtOnce() ? PrintShown(Escaped(lines, "\n\t")) : PrintShown(lines); }

void PrintShown(std::string_view lines) {
    if (pending.size() + lines.size() > LongestWrite) FlushOutput();
    pending += lines;
    if (IsShownAtOnce()) FlushOutput();
}

void FlushOutput() {
    WritePending();
    if (outputError != 0 && !OutputReaderIsGone()) Fail("standard output: {}", std::strerror(outputError));
}

void PrintLast(std::string_view lines) {
    WritePending();
    if (outputError == 0 && !Write(StandardOutput(), lines, false)) outputError = errno;
    FlushOutput();
}

bool OutputReaderIsGone() { return outputError == EPIPE; }

void PrintError(std::string_view lines) noexcept {
    WritePending();
    try {
        Write(StandardError(), Escaped(lines, "\n"), false);
    } catch (const std::bad_alloc&) {
        Write(StandardError(), "study: out of memory\n", false);
    }
}

void Tell(std::string_view message) noexcept {
    try {
        PrintError(fmt::format("study: {}\n", Shown(message)));
    } catch (const std::bad_alloc&) {
        PrintError("study: out of memory\n");
    }
}

}  // namespace sarvane::study
