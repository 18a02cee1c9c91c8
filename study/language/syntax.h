#pragma once

// The parts that the text of an expression, or of a file of definitions, is made of.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sarvane::study {

// A place in a text, in bytes.
struct Span {
    std::size_t begin = 0;
    std::size_t end = 0;
};

struct Expression {
    enum class Kind {
        Empty,   // an argument that was left out
        Number,  // `number`
        Word,    // a column, a name, "Bar", or a text that an operator reads: `name`
        Call,    // operator, function or study `name` with `parts` as arguments
        Unary,   // the sign `name`, "-" or "not", ahead of its one part
        Binary,  // the sign `name` between two parts
        Output,  // output `name` of its one part
        Delay,   // its first part, as many bars back as the second part says
    };

    Kind kind = Kind::Empty;
    std::string name;
    double number = 0.0;
    std::vector<Expression> parts;
    Span span;                 // of the whole part
    Span nameSpan;             // of the word or sign in `name`
    int height = 1;            // parts one inside the other, this one included
    bool isQuoted = false;     // a word in quotes: a column or a text, never a name
    bool isBracketed = false;  // it stood in brackets of its own
};

// A parameter of a definition. One without a default must be given.
struct FormalParameter {
    std::string name;
    Span span;
    std::optional<Expression> standard;
};

// One expression, with the name that it was given: `name = expression`, or `name(parameter, parameter = default) = ...`.
// A definition with several outputs lists them in braces: `name(...) = {upper = ...; lower = ...}`; each may use those
// before it.
struct Statement {
    std::string name;  // empty if there is none
    Span nameSpan;
    bool isFunction = false;  // there were brackets behind the name
    std::vector<FormalParameter> parameters;
    Expression body;                 // unless there are outputs
    std::vector<Statement> outputs;  // each with a name and a body
    std::string comment;             // the lines behind "#" directly above, without the sign
    Span span;
};

// The statements of a text. The last one is what an expression's text stands for.
struct Script {
    std::string text;
    std::vector<Statement> statements;
};

}  // namespace sarvane::study
