#include "language/definitions.h"

#include "language/parser.h"
#include "room.h"
#include "standard_studies.h"

#include <algorithm>
#include <span>

namespace sarvane::study {
namespace {

// The first name that comes twice in a list, null if none does.
template <class Named, class PlaceOf>
std::optional<Problem> FindRepeated(const std::vector<Named>& list, PlaceOf placeOf, const Source& source) {
    for (auto a = list.begin(); a != list.end(); ++a) {
        for (auto b = list.begin(); b != a; ++b) {
            if (EqualIgnoringCase(a->name, b->name))
                return ProblemAt(placeOf(*a), "there are two of this name", source);
        }
    }
    return std::nullopt;
}

const Definition* FindIn(std::span<const std::shared_ptr<const Definition>> list, std::string_view name) {
    const auto found =
        std::ranges::find_if(list, [&](const auto& known) { return EqualIgnoringCase(known->statement.name, name); });
    return found == list.end() ? nullptr : found->get();
}

}  // namespace

Problem ProblemAt(const Span& place, std::string message, const Source& source) {
    return ProblemIn({.offset = place.begin, .length = place.end - place.begin, .message = std::move(message)}, source);
}

Problem ProblemIn(Problem problem, const Source& source) {
    problem.source = source.name;
    problem.text = source.text;
    return problem;
}

std::optional<Problem> Definitions::Add(std::string_view text, std::string_view sourceName) {
    const auto source = std::make_shared<const Source>(Source{std::string(sourceName), std::string(text)});
    Outcome<Script> script = ParseScript(text);
    if (!script) return ProblemIn(script.Fault(), *source);
    const auto before = definitions;
    for (Statement& statement : script->statements) {
        if (auto problem = Add(std::move(statement), source)) {
            definitions = before;
            return problem;
        }
    }
    return std::nullopt;
}

std::optional<Problem> Definitions::Add(Statement statement, std::shared_ptr<const Source> source) {
    if (statement.name.empty()) return ProblemAt(statement.span, "expected a definition: `name = expression`", *source);
    if (std::string reason = refusal(statement.name); !reason.empty()) {
        return ProblemAt(statement.nameSpan, std::move(reason), *source);
    }
    if (auto twice = FindRepeated(
            statement.parameters, [](const auto& named) { return named.span; }, *source)) {
        return twice;
    }
    if (auto twice = FindRepeated(
            statement.outputs, [](const auto& named) { return named.nameSpan; }, *source)) {
        return twice;
    }
    const bool hasNothing = std::ranges::all_of(statement.outputs, &IsIntermediate, &Statement::name);
    if (!statement.outputs.empty() && hasNothing) {
        return ProblemAt(statement.nameSpan, "an output whose name does not start with \"_\" is missing", *source);
    }
    auto added = std::make_shared<const Definition>(Definition{std::move(statement), std::move(source)});
    MakeRoom(definitions);  // none is lost if memory runs out
    std::erase_if(definitions,
                  [&](const auto& known) { return EqualIgnoringCase(known->statement.name, added->statement.name); });
    definitions.push_back(std::move(added));
    return std::nullopt;
}

const Definition* Definitions::Find(std::string_view name) const {
    if (const Definition* const added = FindIn(definitions, name)) return added;
    return FindIn(Standard(), name);
}

Definitions::List Definitions::All() const {
    List all;
    for (const auto& study : Standard()) {
        if (!FindIn(definitions, study->statement.name)) all.push_back(study);
    }
    all.insert(all.end(), definitions.begin(), definitions.end());
    return all;
}

const Definitions::List& Definitions::Standard() {
    static const List standard = [] {
        Definitions read([](std::string_view) { return std::string(); });
        read.Add(StandardStudies, "standard.study");
        return read.definitions;
    }();
    return standard;
}

}  // namespace sarvane::study
