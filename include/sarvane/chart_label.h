#pragma once

#include <bit>
#include <cstdint>
#include <optional>
#include <string>

namespace sarvane {

// A label that an operator puts on a bar, through an output named "label1" to "label6". It shows a number, a number
// behind a letter, or a text.
struct ChartLabel {
    int curve = 0;      // number of the label among those of the operator, from 0 to 6
    int placement = 0;  // a small code for the host
    std::optional<int> number = {};
    std::optional<std::string> text = {};  // in place of `number`; 8-bit characters, the first 6 count
    std::optional<char> prefix = {};       // a letter ahead of `number`
};

// How a label is packed into the 8 bytes of a double, of which byte 0 is the lowest. Byte 0 holds `curve` + 1 in its
// low half and `placement` in its high half, combined with one of the marks below or with none. What the label shows
// starts at byte 1: a 32-bit number, or up to 6 characters. All other bytes are 0. Since byte 7 is always 0, a packed
// label is a tiny positive double, never UndefinedValue or a NaN.
inline constexpr std::uint32_t LabelNumberMark = 0x08;  // what is shown is a number without a letter
inline constexpr std::uint32_t LabelPrefixMark = 0x40;  // the characters are a letter and a number
inline constexpr int LabelCharacters = 6;

// The text that a packed label shows. Nothing for a double that is not a packed label.
inline std::optional<std::string> LabelText(double packed) {
    const auto bits = std::bit_cast<std::uint64_t>(packed);
    const bool hasCurve = (bits & 0x07) != 0;
    if (!hasCurve || bits >> 56 != 0) return std::nullopt;
    const std::uint64_t payload = bits >> 8;
    if (bits & LabelNumberMark) {
        if (payload >> 32 != 0) return std::nullopt;
        return std::to_string(static_cast<std::int32_t>(payload));
    }
    std::string text;
    for (int i = 0; i < LabelCharacters; ++i) text += static_cast<char>(payload >> 8 * i & 0xFF);
    text.resize(text.find_last_not_of('\0') + 1);
    return text;
}

}  // namespace sarvane
