#pragma once

#include "language/problem.h"
#include "language/syntax.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sarvane::study {

// A text of the language, kept for the messages and arguments that quote it.
struct Source {
    std::string name;  // such as "standard.study"; empty for an expression
    std::string text;
};

// What is wrong at a place of a source.
Problem ProblemAt(const Span& place, std::string message, const Source& source);
// The same problem, now that it is known in which source it lies.
Problem ProblemIn(Problem problem, const Source& source);

// A name that stands for an expression, or for a function with parameters.
struct Definition {
    Statement statement;
    std::shared_ptr<const Source> source;
};

// An output whose name starts with "_" is a step on the way to others: it can't be seen from outside.
inline bool IsIntermediate(std::string_view output) { return output.starts_with('_'); }

// The names that expressions may use: those of the standard studies, and what is added. Names of a later text take the
// place of earlier ones. The standard studies are read when somebody asks for a name that was not added, and only once in
// a process.
class Definitions {
public:
    // Why a name may not be defined, or an empty text if it may.
    using Refusal = std::function<std::string(std::string_view name)>;

    explicit Definitions(Refusal check) : refusal(std::move(check)) {}

    // Adds all statements of a text, or none of them if there is a problem. Each must have a name.
    std::optional<Problem> Add(std::string_view text, std::string_view sourceName);
    // Adds one statement of a text that has been read already.
    std::optional<Problem> Add(Statement statement, std::shared_ptr<const Source> source);

    // In any letter case. Null if there is none.
    const Definition* Find(std::string_view name) const;
    // The standard studies come first, then what was added, in its order.
    std::vector<std::shared_ptr<const Definition>> All() const;

private:
    using List = std::vector<std::shared_ptr<const Definition>>;

    static const List& Standard();

    Refusal refusal;
    List definitions;  // that were added
};

}  // namespace sarvane::study
