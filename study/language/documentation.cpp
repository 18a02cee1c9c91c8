#include "language/documentation.h"

#include "language/definitions.h"
#include "language/parser.h"

namespace sarvane::study {
namespace {

// The words of some lines, with one blank between two.
std::string OneLine(std::string_view lines) {
    std::string line;
    for (std::size_t at = 0; at < lines.size();) {
        const std::size_t begin = std::min(lines.find_first_not_of(" \t\n", at), lines.size());
        at = std::min(lines.find_first_of(" \t\n", begin), lines.size());
        if (at > begin) line.append(line.empty() ? "" : " ").append(lines.substr(begin, at - begin));
    }
    return line;
}

// Where the entry goes that a line starts with "name:"; null if it starts none.
std::string* FindEntry(Documentation& about, std::string_view name) {
    if (name == "Group") return &about.group;
    if (name == "Source") return &about.source;
    if (name == "Choice") return &about.choice;
    for (Documentation::Argument& argument : about.arguments) {
        if (EqualIgnoringCase(argument.name, name)) return &argument.meaning;
    }
    return nullptr;
}

}  // namespace

Documentation DocumentationOf(const Statement& statement, const std::string& text) {
    const auto written = [&](const Span& span) { return text.substr(span.begin, span.end - span.begin); };
    Documentation about;
    about.definition = written(statement.span);
    for (const FormalParameter& parameter : statement.parameters) {
        about.arguments.push_back({parameter.name, parameter.standard ? written(parameter.standard->span) : "", ""});
    }
    for (const Statement& output : statement.outputs) {
        if (!IsIntermediate(output.name)) about.outputs.push_back({output.name, OneLine(output.comment)});
    }
    std::string* entry = &about.sentence;
    std::string_view rest = statement.comment;
    while (!rest.empty()) {
        std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        const std::size_t colon = line.find(':');
        std::string* const next = colon == line.npos ? nullptr : FindEntry(about, line.substr(0, colon));
        if (next) {
            entry = next;
            line.remove_prefix(colon + 1);
        }
        *entry = OneLine(*entry + " " + std::string(line));
    }
    return about;
}

}  // namespace sarvane::study
