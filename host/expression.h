#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sarvane::study {

// A part of an expression's text and what it is.
struct Expression {
    enum class Kind {
        Empty,   // an argument that was left out
        Number,  // `number`
        Word,    // a column, "Bar", or a text that an operator reads; `name` without quotes
        Call,    // operator `name` with `parts` as arguments
        Binary,  // `name` is the sign between two `parts`
        Output,  // output `name` of its one part
    };

    Kind kind = Kind::Empty;
    std::string name;
    double number = 0.0;
    std::vector<Expression> parts;
    std::size_t begin = 0;  // in the expression's text
    std::size_t end = 0;
    int depth = 1;  // of the longest chain of parts, from this one down
};

// Reads an expression:
//
//     sum [(< <= > >= = <>) sum]      a comparison: one, as a < b < c means something else in mathematics
//     product {(+ -) product}
//     factor {(* /) factor}
//     -factor, (expression), number, word, "word", word(argument, , argument), factor.output
//
// Fails with the place of the fault. Long texts and deep nesting are faults, so that all that walks through an
// expression may do so by recursion.
Expression ParseExpression(std::string_view text);

// Fails with a message that names a place in an expression.
[[noreturn]] void FailAt(std::string_view expression, std::size_t place, std::string_view message);

}  // namespace sarvane::study
