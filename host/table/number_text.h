#pragma once

#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <optional>
#include <string>

namespace sarvane::study {

// With as few digits as it takes to read the same double again; with an exponent where there would be many zeros.
inline void AppendShortest(fmt::memory_buffer& text, double number) {
    const double size = std::abs(number);
    if (number != 0.0 && !(size >= 1e-4 && size < 1e16)) {
        fmt::format_to(std::back_inserter(text), "{}", number);
        return;
    }
    char digits[32];
    const auto written = std::to_chars(digits, digits + sizeof digits, number, std::chars_format::fixed);
    text.append(digits, written.ptr);
}

// A number with `decimals`, else with as many digits as it takes to read the same double again. A zero has no sign.
inline void AppendNumber(fmt::memory_buffer& text, double number, std::optional<int> decimals) {
    constexpr double Largest = 1e15;  // beyond it decimals say nothing
    if (!decimals || !(number > -Largest && number < Largest)) {
        AppendShortest(text, number + 0.0);
        return;
    }
    const std::size_t begin = text.size();
    fmt::format_to(std::back_inserter(text), "{:.{}f}", number + 0.0, *decimals);
    const std::string_view written(text.data() + begin, text.size() - begin);
    if (!written.starts_with('-') || written.find_first_of("123456789") != std::string_view::npos) return;
    const std::string zero(written.substr(1));
    text.resize(begin);
    text.append(zero.data(), zero.data() + zero.size());
}

}  // namespace sarvane::study
