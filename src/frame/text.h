#pragma once

// Reads and composes the texts that operators and hosts exchange. The decimal point is "." whatever locale the process
// has set.

#include "platform/task_text.h"
#include "sarvane/values.h"

#include <string>
#include <string_view>

namespace sarvane {

// Reads a whole number in base 10, with or without white space around it. A number beyond 32 bits gives the lowest or
// highest int. Any other text, null included, gives UndefinedParam.
int TextToInt(const char16_t* text);

// Reads a number as C's `strtod` does (decimal, hexadecimal, "inf" or "nan"), with or without white space around it.
// Any other text, null included, gives UndefinedValue.
double TextToDouble(const char16_t* text);

// A text that FormatText composes, without allocating. What exceeds its capacity is cut off.
class FormattedText {
public:
    static constexpr std::size_t Capacity = 128;  // 16-bit characters, NUL included

    void Append(std::string_view ascii);
    void AppendPadded(std::string_view ascii, int width);
    operator std::u16string_view() const { return {characters, length}; }

private:
    std::size_t length = 0;
    char16_t characters[Capacity];
};

// Composes a text as `printf` does, with the conversions that operators use: %d, %s, %f and %%, with width and
// precision.
[[gnu::format(printf, 1, 2)]] FormattedText FormatText(const char* format, ...);

// The text of a parameter as hosts see it: a number, a word, or a text composed in a format of its own.
inline FormattedText ParameterText(int number) { return FormatText("%d", number); }
inline FormattedText ParameterText(double number) { return FormatText("%f", number); }
inline FormattedText ParameterText(const char* word) { return FormatText("%s", word); }
inline FormattedText ParameterText(const FormattedText& text) { return text; }

// The text of parameter `n` of a list, counted from 0. The empty text if there is none.
template <class... Parameters>
FormattedText Nth(int n, Parameters... parameters) {
    FormattedText text;
    int place = 0;
    ((place++ == n ? void(text = ParameterText(parameters)) : void()), ...);
    return text;
}

// Each character as one of 16 bits.
std::u16string Widen(std::string_view ascii);

}  // namespace sarvane
