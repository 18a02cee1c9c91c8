#pragma once

#include "language/syntax.h"

#include <string>
#include <vector>

namespace sarvane::study {

// What the comment above a definition says, in this form:
//
//     # One sentence, which may go on in the next line.
//     # Group: averages
//     # x: meaning of the argument x
//     # Source: author, title, year
//     # Choice: what was decided where the source leaves it open
//
// Every entry may be missing, and a line that starts none goes on with the one before. Comments above outputs in braces
// are their meaning.
struct Documentation {
    struct Argument {
        std::string name;
        std::string standard;  // text of its default; empty if it has none
        std::string meaning;
    };
    struct Output {
        std::string name;
        std::string meaning;
    };

    std::string sentence;
    std::string group;
    std::vector<Argument> arguments;
    std::vector<Output> outputs;  // those that can be seen; none where there is only a plain value
    std::string source;
    std::string choice;
    std::string definition;  // the text itself
};

// `text` is the one that the statement was read from.
Documentation DocumentationOf(const Statement& statement, const std::string& text);

}  // namespace sarvane::study
