#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace sarvane::study {

enum class Encoding { Utf8, Utf16Little, Utf16Big, Latin1 };

// The encoding with this name, such as "utf-16le".
std::optional<Encoding> EncodingOf(std::string_view name);
std::string_view NameOf(Encoding encoding);

// A text that is no UTF-8, as Latin-1; others as they are.
std::string AsUtf8(std::string_view text);

// Turns bytes, piece by piece as they come, into UTF-8.
class TextDecoder {
public:
    // Without an encoding the first bytes tell it: a byte order mark, or zeros between ASCII characters; else it is UTF-8.
    explicit TextDecoder(std::optional<Encoding> known = {}) : encoding(known) {}

    // Puts what the bytes stand for behind `text`. Bytes that are no UTF-8 stay as they are. An unpaired surrogate becomes
    // U+FFFD.
    void Decode(std::string_view bytes, std::string& text);
    // The same for the last time.
    void End(std::string& text);

    Encoding Present() const { return encoding.value_or(Encoding::Utf8); }

private:
    void Decide();
    void DecodeWaiting(std::string& text, bool isEnd);

    std::optional<Encoding> encoding;
    bool hasBegun = false;
    std::string waiting;  // bytes that are part of a character, or too few to tell the encoding
};

}  // namespace sarvane::study
