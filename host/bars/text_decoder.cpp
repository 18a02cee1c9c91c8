#include "bars/text_decoder.h"

#include "language/parser.h"

#include <array>
#include <utility>

namespace sarvane::study {
namespace {

constexpr std::array<std::pair<std::string_view, Encoding>, 6> Names = {{{"utf-8", Encoding::Utf8},
                                                                         {"utf-16le", Encoding::Utf16Little},
                                                                         {"utf-16be", Encoding::Utf16Big},
                                                                         {"latin-1", Encoding::Latin1},
                                                                         {"utf8", Encoding::Utf8},
                                                                         {"iso-8859-1", Encoding::Latin1}}};

void AppendUtf8(std::string& text, char32_t code) {
    const auto append = [&](char32_t byte) { text += static_cast<char>(byte); };
    if (code < 0x80) return append(code);
    if (code < 0x800) {
        append(0xC0 | code >> 6);
    } else {
        if (code < 0x10000) {
            append(0xE0 | code >> 12);
        } else {
            append(0xF0 | code >> 18);
            append(0x80 | (code >> 12 & 0x3F));
        }
        append(0x80 | (code >> 6 & 0x3F));
    }
    append(0x80 | (code & 0x3F));
}

bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

// How many bytes a character begins with that are a mark of the byte order.
std::size_t MarkLength(std::string_view bytes, Encoding encoding) {
    switch (encoding) {
    case Encoding::Utf8: return bytes.starts_with("\xEF\xBB\xBF") ? 3 : 0;
    case Encoding::Utf16Little: return bytes.starts_with("\xFF\xFE") ? 2 : 0;
    case Encoding::Utf16Big: return bytes.starts_with("\xFE\xFF") ? 2 : 0;
    case Encoding::Latin1: break;
    }
    return 0;
}

}  // namespace

std::optional<Encoding> EncodingOf(std::string_view name) {
    for (const auto& [known, encoding] : Names) {
        if (EqualIgnoringCase(name, known)) return encoding;
    }
    return std::nullopt;
}

std::string_view NameOf(Encoding encoding) {
    for (const auto& [name, known] : Names) {
        if (known == encoding) return name;
    }
    return {};
}

std::string AsUtf8(std::string_view text) {
    // By how a character begins: how many bytes follow.
    const auto following = [](unsigned char first) {
        return first < 0x80                    ? 0
               : first >= 0xC2 && first < 0xE0 ? 1
               : first >= 0xE0 && first < 0xF0 ? 2
               : first < 0xF5                  ? 3
                                               : -1;
    };
    bool isUtf8 = true;
    for (std::size_t i = 0; isUtf8 && i < text.size(); ++i) {
        const auto first = static_cast<unsigned char>(text[i]);
        int more = first >= 0x80 && first < 0xC2 ? -1 : following(first);
        for (isUtf8 = more >= 0; isUtf8 && more > 0; --more)
            isUtf8 = ++i < text.size() && (static_cast<unsigned char>(text[i]) & 0xC0) == 0x80;
    }
    if (isUtf8) return std::string(text);
    std::string converted;
    for (const char c : text) AppendUtf8(converted, static_cast<unsigned char>(c));
    return converted;
}

void TextDecoder::Decode(std::string_view bytes, std::string& text) {
    if (hasBegun && waiting.empty() && encoding == Encoding::Utf8) {
        text += bytes;
        return;
    }
    waiting += bytes;
    if (!hasBegun && waiting.size() < 4) return;
    DecodeWaiting(text, false);
}

void TextDecoder::End(std::string& text) { DecodeWaiting(text, true); }

void TextDecoder::Decide() {
    hasBegun = true;
    const std::string_view start = std::string_view(waiting).substr(0, 4);
    if (!encoding) {
        const auto hasZeros = [&](std::size_t first) {
            return start.size() == 4 && start[first] == '\0' && start[first + 2] == '\0' && start[1 - first] != '\0' &&
                   start[3 - first] != '\0';
        };
        if (start.starts_with("\xFF\xFE") || hasZeros(1))
            encoding = Encoding::Utf16Little;
        else if (start.starts_with("\xFE\xFF") || hasZeros(0))
            encoding = Encoding::Utf16Big;
        else
            encoding = Encoding::Utf8;
    }
    waiting.erase(0, MarkLength(waiting, *encoding));
}

void TextDecoder::DecodeWaiting(std::string& text, bool isEnd) {
    if (!hasBegun) Decide();
    if (encoding == Encoding::Utf8) {
        text += std::exchange(waiting, {});
        return;
    }
    if (encoding == Encoding::Latin1) {
        for (const char c : std::exchange(waiting, {})) AppendUtf8(text, static_cast<unsigned char>(c));
        return;
    }
    const auto unitAt = [&](std::size_t at) {
        const auto first = static_cast<unsigned char>(waiting[at]),
                   second = static_cast<unsigned char>(waiting[at + 1]);
        return static_cast<char32_t>(encoding == Encoding::Utf16Little ? second << 8 | first : first << 8 | second);
    };
    constexpr char32_t Replacement = 0xFFFD;
    std::size_t at = 0;
    for (; at + 1 < waiting.size(); at += 2) {
        const char32_t unit = unitAt(at);
        if (!IsHighSurrogate(unit)) {
            AppendUtf8(text, IsLowSurrogate(unit) ? Replacement : unit);
            continue;
        }
        if (at + 3 >= waiting.size()) {
            if (!isEnd) break;  // its other half is to come
            AppendUtf8(text, Replacement);
        } else if (const char32_t low = unitAt(at + 2); IsLowSurrogate(low)) {
            AppendUtf8(text, 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
            at += 2;
        } else {
            AppendUtf8(text, Replacement);
        }
    }
    if (isEnd && at < waiting.size()) AppendUtf8(text, Replacement);
    waiting.erase(0, isEnd ? waiting.size() : at);
}

}  // namespace sarvane::study
