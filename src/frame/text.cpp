#include "frame/text.h"

#include "platform/platform.h"

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <limits>
#include <system_error>

namespace sarvane {
namespace {

constexpr std::u16string_view WhiteSpace = u" \t\n\v\f\r";
constexpr std::string_view Digits = "0123456789";

// A text without the white space around it, narrowed to ASCII. Characters beyond ASCII become "?", which no number
// contains.
std::string Trimmed(const char16_t* text) {
    const std::u16string_view wide = TextOrEmpty(text);
    const std::size_t first = wide.find_first_not_of(WhiteSpace);
    if (first == std::u16string_view::npos) return {};
    std::string narrow;
    for (const char16_t c : wide.substr(first, wide.find_last_not_of(WhiteSpace) - first + 1))
        narrow += c < 0x80 ? static_cast<char>(c) : '?';
    return narrow;
}

}  // namespace

int TextToInt(const char16_t* text) {
    const std::string trimmed = Trimmed(text);
    std::string_view number = trimmed;
    const bool minus = number.starts_with('-');
    if (minus || number.starts_with('+')) number.remove_prefix(1);
    if (number.empty() || number.find_first_not_of(Digits) != std::string_view::npos) return UndefinedParam;
    long long magnitude = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), magnitude);
    if (error != std::errc()) magnitude = std::numeric_limits<long long>::max();
    const long long value = minus ? -magnitude : magnitude;
    return static_cast<int>(std::clamp<long long>(value, UndefinedParam, std::numeric_limits<int>::max()));
}

double TextToDouble(const char16_t* text) {
    const std::string number = Trimmed(text);
    char* end = nullptr;
    const double value = ReadDouble(number.c_str(), &end);
    return number.empty() || *end ? UndefinedValue : value;
}

void FormattedText::Append(std::string_view ascii) {
    const std::size_t fitting = std::min(ascii.size(), Capacity - 1 - length);
    std::copy_n(ascii.begin(), fitting, characters + length);
    length += fitting;
}

void FormattedText::AppendPadded(std::string_view ascii, int width) {
    for (int i = static_cast<int>(ascii.size()); i < width; ++i) Append(" ");
    Append(ascii);
}

FormattedText FormatText(const char* format, ...) {
    FormattedText result;
    std::va_list arguments;
    va_start(arguments, format);
    std::string_view rest = format;
    while (!rest.empty()) {
        const std::size_t plain = std::min(rest.find('%'), rest.size());
        result.Append(rest.substr(0, plain));
        rest.remove_prefix(plain);
        if (rest.empty()) break;

        int width = 0;
        int precision = 6;
        const char* const last = rest.data() + rest.size();
        const char* at = std::from_chars(rest.data() + 1, last, width).ptr;
        if (*at == '.') at = std::from_chars(at + 1, last, precision).ptr;
        if (*at == 'l') ++at;
        char digits[400];  // the longest number: a sign, 309 digits, the point, and the digits behind it
        std::string_view piece = "%";
        switch (*at) {
        case 's': piece = va_arg(arguments, const char*); break;
        case 'd': piece = {digits, std::to_chars(digits, std::end(digits), va_arg(arguments, int)).ptr}; break;
        case 'f':
            piece = {digits, std::to_chars(digits, std::end(digits), va_arg(arguments, double),
                                           std::chars_format::fixed, precision)
                                 .ptr};
            break;
        }
        result.AppendPadded(piece, width);
        rest = {at + 1, last};
    }
    va_end(arguments);
    return result;
}

std::u16string Widen(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

}  // namespace sarvane
