#pragma once

#include <fmt/format.h>
#include <stdexcept>
#include <string>
#include <string_view>

namespace sarvane::study {

// What goes wrong through input: one line for the user.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// What was asked for was done, and the answer is no.
class FailedCheck : public Failure {
public:
    using Failure::Failure;
};

template <class... Arguments>
[[noreturn]] void Fail(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    throw Failure(fmt::format(format, std::forward<Arguments>(arguments)...));
}

// A text of the user's in a message: in quotes, cut to a readable length, with nothing in it that moves the cursor.
inline std::string Quoted(std::string_view text) {
    constexpr std::size_t Longest = 60;
    const bool cut = text.size() > Longest;
    return fmt::format("{:?}{}", std::string(text.substr(0, Longest)), cut ? "..." : "");
}

}  // namespace sarvane::study
