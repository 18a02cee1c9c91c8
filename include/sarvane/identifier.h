#pragma once

#include "sarvane/component.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sarvane {

// Reads an identifier from its text, such as "{22A86291-1412-11D1-B172-0000C0D9BDE9}", with or without the braces.
// Nothing for a text of another form.
template <class Character>
constexpr std::optional<GUID> ParsedId(std::basic_string_view<Character> text) {
    if (text.size() == 38 && text.front() == '{' && text.back() == '}') text = text.substr(1, 36);
    if (text.size() != 36) return std::nullopt;
    GUID id = {};
    std::size_t digits = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const Character c = text[i];
        if (i == 8 || i == 13 || i == 18 || i == 23) {
            if (c != '-') return std::nullopt;
            continue;
        }
        const bool decimal = c >= '0' && c <= '9';
        if (!decimal && !(c >= 'A' && c <= 'F') && !(c >= 'a' && c <= 'f')) return std::nullopt;
        const auto digit = static_cast<std::uint32_t>(decimal ? c - '0' : (c | 0x20) - 'a' + 10);
        const std::size_t place = digits++;
        if (place < 8) {
            id.Data1 = id.Data1 * 16u + digit;
        } else if (place < 12) {
            id.Data2 = static_cast<std::uint16_t>(id.Data2 * 16u + digit);
        } else if (place < 16) {
            id.Data3 = static_cast<std::uint16_t>(id.Data3 * 16u + digit);
        } else {
            std::uint8_t& byte = id.Data4[(place - 16) / 2];
            byte = static_cast<std::uint8_t>(byte * 16u + digit);
        }
    }
    return id;
}

// An identifier from a literal: "22A86291-1412-11D1-B172-0000C0D9BDE9"_id. A literal of another form does not compile.
consteval GUID operator""_id(const char* text, std::size_t length) {
    return ParsedId(std::string_view(text, length)).value();
}

// The text of an identifier as the names of registry keys have it: "{401BF948-A946-11D1-B1A9-0000C0D9BDE9}".
inline std::u16string BracedText(const GUID& id) {
    std::u16string text = u"{";
    const auto append = [&](std::uint32_t bits, int digits) {
        while (digits-- > 0) text += u"0123456789ABCDEF"[bits >> (4 * digits) & 15];
    };
    append(id.Data1, 8);
    text += u'-';
    append(id.Data2, 4);
    text += u'-';
    append(id.Data3, 4);
    for (int i = 0; i < 8; ++i) {
        if (i == 0 || i == 2) text += u'-';
        append(id.Data4[i], 2);
    }
    return text + u'}';
}

}  // namespace sarvane
