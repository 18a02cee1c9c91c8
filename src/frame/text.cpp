#include "frame/text.h"

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <limits>
#include <system_error>

namespace sarvane {
namespace {

constexpr std::u16string_view WhiteSpace = u" \t\n\v\f\r";
constexpr std::string_view Digits = "0123456789";
constexpr std::string_view HexDigits = "0123456789abcdefABCDEF";

// The text between leading and trailing white space, with what no number contains turned into "?". Empty if there is
// nothing else.
std::string Trimmed(const char16_t* text) {
    const std::u16string_view wide = TextOrEmpty(text);
    const std::size_t first = wide.find_first_not_of(WhiteSpace);
    if (first == std::u16string_view::npos) return {};
    std::string narrow;
    for (const char16_t c : wide.substr(first, wide.find_last_not_of(WhiteSpace) - first + 1))
        narrow += c < 0x80 ? static_cast<char>(c) : '?';
    return narrow;
}

// Takes a sign off the front of a number and says whether it is a minus. A second sign is left to spoil the number.
bool TakeMinus(std::string_view& number) {
    const bool minus = number.starts_with('-');
    if (minus || number.starts_with('+')) number.remove_prefix(1);
    return minus;
}

bool StartsWithOneOf(std::string_view text, std::string_view characters) {
    return !text.empty() && characters.find(text.front()) != std::string_view::npos;
}

// Whether a number too far from 1.0 for a double is too large rather than too small: the weight of its first
// significant digit decides.
bool IsHuge(std::string_view number, std::string_view digits, std::string_view exponentMark, int digitWeight) {
    const std::size_t mark = std::min(number.find_first_of(exponentMark), number.size());
    long long exponent = 0;
    if (mark < number.size()) {
        std::string_view text = number.substr(mark + 1);
        const bool minus = TakeMinus(text);
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), exponent);
        if (error != std::errc()) exponent = std::numeric_limits<int>::max();
        if (minus) exponent = -exponent;
    }
    const std::string_view mantissa = number.substr(0, mark);
    const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
    const std::size_t leading = mantissa.find_first_of(digits.substr(1));
    return exponent + digitWeight * (static_cast<long long>(point) - static_cast<long long>(leading)) > 0;
}

}  // namespace

int TextToInt(const char16_t* text) {
    const std::string trimmed = Trimmed(text);
    std::string_view number = trimmed;
    const bool minus = TakeMinus(number);
    if (number.empty() || number.find_first_not_of(Digits) != std::string_view::npos) return UndefinedParam;
    long long magnitude = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), magnitude);
    if (error != std::errc()) magnitude = std::numeric_limits<long long>::max();
    const long long value = minus ? -magnitude : magnitude;
    return static_cast<int>(std::clamp<long long>(value, UndefinedParam, std::numeric_limits<int>::max()));
}

double TextToDouble(const char16_t* text) {
    const std::string trimmed = Trimmed(text);
    std::string_view number = trimmed;
    const bool minus = TakeMinus(number);
    if (StartsWithOneOf(number, "+-")) return UndefinedValue;
    bool hex = number.starts_with("0x") || number.starts_with("0X");
    if (hex) {
        number.remove_prefix(2);
        const std::string_view first = number.starts_with('.') ? number.substr(1) : number;
        if (!StartsWithOneOf(first, HexDigits)) return UndefinedValue;
    }
    double value = 0.0;
    const char* const last = number.data() + number.size();
    const auto [end, error] =
        std::from_chars(number.data(), last, value, hex ? std::chars_format::hex : std::chars_format::general);
    if (error == std::errc::invalid_argument || end != last) return UndefinedValue;
    if (error == std::errc::result_out_of_range) {
        const bool huge = hex ? IsHuge(number, HexDigits, "pP", 4) : IsHuge(number, Digits, "eE", 1);
        value = huge ? std::numeric_limits<double>::infinity() : 0.0;
    }
    return minus ? -value : value;
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
        char digits[400];  // the longest: sign, 309 digits, point and what a format asks for behind it
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

FormattedText NthInt(short n, std::initializer_list<int> numbers) {
    if (n < 0 || static_cast<std::size_t>(n) >= numbers.size()) return {};
    return FormatText("%d", numbers.begin()[n]);
}

FormattedText NthDouble(int n, std::initializer_list<double> numbers) {
    if (n < 0 || static_cast<std::size_t>(n) >= numbers.size()) return {};
    return FormatText("%f", numbers.begin()[n]);
}

std::u16string_view NthText(short n, std::initializer_list<std::u16string_view> texts, std::u16string_view otherwise) {
    return n < 0 || static_cast<std::size_t>(n) >= texts.size() ? otherwise : texts.begin()[n];
}

std::u16string Widen(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

}  // namespace sarvane
