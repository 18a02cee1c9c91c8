#pragma once

#include "language/problem.h"
#include "language/syntax.h"

#include <string_view>

namespace sarvane::study {

// No tree is higher, so that walks over it stay far from the end of any stack.
inline constexpr int GreatestHeight = 250;
inline constexpr std::size_t LongestText = 1 << 20;  // bytes

// Reads the text of an expression or of a file of definitions:
//
//     script      statement, with ";" or a line's end between two; "#" starts a comment up to the line's end
//     statement   [name [(parameter [= expression], ...)] =] expression
//                 name [(...)] = { name = expression; ... }
//     expression  comparison [(and or) ...]          `and` binds closer than `or`
//     comparison  [not] sum [(< <= > >= = == <> !=) sum]
//     sum         product [(+ -) product ...]
//     product     factor [(* /) factor ...]
//     factor      [-] primary, with .output and [bars back] behind it
//     primary     number, word, "word", 'word', word(argument, , argument), at(frame, argument), (expression)
//     frame       a number with a unit right behind it, such as 1W, which is read as a text
//
// A line's end counts as a blank inside brackets, and where an operand is still to come. Words are read as they stand;
// letter case does not matter for `and`, `or`, `not`. A comparison that is compared again is refused.
Outcome<Script> ParseScript(std::string_view text);

// Reads the part of a text at `place` as one expression, whatever it would be as a statement.
Outcome<Expression> ParseExpression(std::string_view text, Span place);

// Compares ASCII letters without their case.
bool EqualIgnoringCase(std::string_view a, std::string_view b);

}  // namespace sarvane::study
