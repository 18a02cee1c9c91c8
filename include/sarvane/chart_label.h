#pragma once

#include <bit>
#include <cstdint>
#include <optional>
#include <string>

namespace sarvane {

// A label that an operator puts on a bar, through an output named "label1" to "label6". Its payload is `number`, with
// or without a letter ahead of it, or else `text`.
struct ChartLabel {
    int curve = 0;      // which of the operator's labels, from 0 to 6
    int placement = 0;  // a small code for the host
    std::optional<int> number = {};
    std::optional<std::string> text = {};  // 8-bit characters, of which 6 are kept
    std::optional<char> prefix = {};       // a letter ahead of `number`
};

// A packed label fills the 8 bytes of a double, lowest byte first. Byte 0 holds `curve` + 1 in its low half, `placement`
// in its high half, and one of the marks; the payload starts at byte 1, as characters or as a 32-bit number. All other
// bytes are 0, and byte 7 always is: a label is a tiny positive double, never UndefinedValue or a NaN.
inline constexpr std::uint32_t LabelNumberMark = 0x08;  // the payload is a number by itself
inline constexpr std::uint32_t LabelPrefixMark = 0x40;  // the characters are a letter and a number
inline constexpr int LabelCharacters = 6;

// What a packed label says, whichever form it has. Nothing for a double that is no label.
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
