#pragma once

// Texts in and out of operators. Nothing here depends on the process's locale.

#include "platform/task_text.h"
#include "sarvane/values.h"

#include <initializer_list>
#include <string>
#include <string_view>

namespace sarvane {

// A whole number in base 10 with white space around it allowed, held to 32 bits; UndefinedParam for any other text.
int TextToInt(const char16_t* text);

// A number as C's `strtod` reads it (decimal, hexadecimal, "inf" or "nan"), with white space around it allowed;
// UndefinedValue for any other text.
double TextToDouble(const char16_t* text);

// A composed text. What does not fit is cut off.
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

// Composes a text with the conversions of `printf` that texts of operators use: %d, %s, %f with width and precision,
// and %%.
[[gnu::format(printf, 1, 2)]] FormattedText FormatText(const char* format, ...);

// The text of a parameter: a whole number, a number, a word, or a text composed in a format of its own.
inline FormattedText ParameterText(int number) { return FormatText("%d", number); }
inline FormattedText ParameterText(double number) { return FormatText("%f", number); }
inline FormattedText ParameterText(const char* word) { return FormatText("%s", word); }
inline FormattedText ParameterText(const FormattedText& text) { return text; }

// The text of parameter `n` of a list, counted from 0; empty out of range.
template <class... Parameters>
FormattedText Nth(int n, Parameters... parameters) {
    FormattedText text;
    int place = 0;
    ((place++ == n ? void(text = ParameterText(parameters)) : void()), ...);
    return text;
}

// Entry `n` of a list, counted from 0: a number as text, or one of several texts. Out of range it is `otherwise`.
FormattedText NthInt(short n, std::initializer_list<int> numbers);
FormattedText NthDouble(int n, std::initializer_list<double> numbers);
std::u16string_view NthText(short n, std::initializer_list<std::u16string_view> texts,
                            std::u16string_view otherwise = u"");

std::u16string Widen(std::string_view ascii);

}  // namespace sarvane
