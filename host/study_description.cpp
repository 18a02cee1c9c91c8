#include "study_description.h"

#include "failure.h"
#include "language/documentation.h"

#include <algorithm>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

namespace sarvane::study {
namespace {

Documentation About(const Definition& study) { return DocumentationOf(study.statement, study.source->text); }

// The call with all defaults, as in a definition: "RSI(x, n = 14)".
std::string Signature(const Definition& study) {
    if (!study.statement.isFunction) return study.statement.name;
    std::vector<std::string> arguments;
    for (const auto& [name, standard, meaning] : About(study).arguments)
        arguments.push_back(standard.empty() ? name : fmt::format("{} = {}", name, standard));
    return fmt::format("{}({})", study.statement.name, fmt::join(arguments, ", "));
}

// A study compiled over a column for each parameter without a default, and the usual columns of bars.
struct Compiled {
    std::string formula;
    std::size_t lookback;
};
Compiled Compile(const Library& library, const Definition& study, const std::vector<std::string>& arguments,
                 const OperatorSettings& settings) {
    std::vector<std::string> columns, texts;
    std::size_t next = 0;
    for (const auto& [name, standard, meaning] : About(study).arguments) {
        if (standard.empty()) {
            columns.push_back(name);
            texts.push_back(name);
        } else if (next < arguments.size()) {
            if (const std::string& given = arguments[next++]; !given.empty()) texts.push_back(name + " = " + given);
        }
    }
    if (next < arguments.size()) {
        Fail("{} takes {} argument{} that ha{} a default, not {}", study.statement.name, next, next == 1 ? "" : "s",
             next == 1 ? "s" : "ve", arguments.size());
    }
    for (const char* column : {"open", "high", "low", "close", "volume", "time"}) columns.emplace_back(column);
    const std::string call = fmt::format("{}({})", study.statement.name, fmt::join(texts, ", "));
    Compiler compiler(library.Studies(), columns);
    if (const auto problem = compiler.Add(call, {settings})) FailWith(*problem, call);
    const ResultColumn& result = compiler.Compiled().results.front();
    return {result.formula, result.lookback};
}

// Names with what they mean, one a line, in columns.
std::string Lines(const std::vector<std::array<std::string, 3>>& rows) {
    std::size_t widths[2] = {};
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < 2; ++i) widths[i] = std::max(widths[i], row[i].size());
    }
    std::string lines;
    for (const auto& [name, standard, meaning] : rows) {
        const std::string line =
            fmt::format("  {:<{}}  {:<{}}{}{}", name, widths[0], standard, widths[1], widths[1] ? "  " : "", meaning);
        lines += line.substr(0, line.find_last_not_of(' ') + 1) + '\n';
    }
    return lines;
}

nlohmann::json Json(const Definition& study) {
    const Documentation about = About(study);
    nlohmann::json arguments = nlohmann::json::array(), outputs = nlohmann::json::array();
    for (const auto& [name, standard, meaning] : about.arguments) {
        const auto text = standard.empty() ? nlohmann::json() : nlohmann::json(standard);
        arguments.push_back({{"name", name}, {"default", text}, {"meaning", meaning}});
    }
    for (const auto& [name, meaning] : about.outputs) outputs.push_back({{"name", name}, {"meaning", meaning}});
    return {{"name", study.statement.name}, {"group", about.group},       {"sentence", about.sentence},
            {"arguments", arguments},       {"outputs", outputs},         {"source", about.source},
            {"choice", about.choice},       {"file", study.source->name}, {"definition", about.definition}};
}

// Studies by group, the groups in the order in which they come first.
std::vector<std::pair<std::string, std::vector<const Definition*>>> Groups(const Library& library) {
    std::vector<std::pair<std::string, std::vector<const Definition*>>> groups;
    for (const auto& study : library.Studies()->Studies().All()) {
        std::string name = About(*study).group;
        if (name.empty()) name = study->source->name;
        auto group = std::ranges::find_if(groups, [&](const auto& known) { return known.first == name; });
        if (group == groups.end()) group = groups.insert(groups.end(), {name, {}});
        group->second.push_back(study.get());
    }
    return groups;
}

}  // namespace

std::string StudiesText(const Library& library) {
    std::string text;
    for (const auto& [group, studies] : Groups(library)) {
        std::vector<std::array<std::string, 3>> rows;
        for (const Definition* const study : studies) rows.push_back({Signature(*study), "", About(*study).sentence});
        text += fmt::format("{}{}\n{}", text.empty() ? "" : "\n", group, Lines(rows));
    }
    return text;
}

nlohmann::json StudiesJson(const Library& library) {
    nlohmann::json list = nlohmann::json::array();
    for (const auto& study : library.Studies()->Studies().All()) list.push_back(Json(*study));
    return list;
}

std::string StudiesMarkdown(const Library& library) {
    std::string text = "# Studies\n\n"
                       "The studies that every expression can use, as `study studies --markdown` prints them. They are "
                       "written in the\nlanguage of [expressions](expressions.md) on the "
                       "[operators](operators.md); `study describe NAME` shows one of them with the\n"
                       "formula in its operators' words and with its lookback. Tests hold each against a plain "
                       "calculation from the published\ndefinition.\n";
    for (const auto& [group, studies] : Groups(library)) {
        std::string title = group;
        if (title[0] >= 'a' && title[0] <= 'z') title[0] = static_cast<char>(title[0] - 'a' + 'A');
        text += fmt::format("\n## {}\n", title);
        for (const Definition* const study : studies) {
            text += fmt::format("\n### {}\n\n{}", study->statement.name, DescribeMarkdown(*study));
        }
    }
    return text;
}

std::string DescribeText(const Library& library, const Definition& study, const std::vector<std::string>& arguments,
                         const OperatorSettings& settings) {
    const Documentation about = About(study);
    const Compiled compiled = Compile(library, study, arguments, settings);
    std::string text = fmt::format("{}\n{}{}", Signature(study), about.sentence, about.sentence.empty() ? "" : "\n");
    std::vector<std::array<std::string, 3>> rows;
    for (const auto& [name, standard, meaning] : about.arguments)
        rows.push_back({name, standard.empty() ? "needed" : "default " + standard, meaning});
    if (!rows.empty()) text += "\narguments\n" + Lines(rows);
    rows.clear();
    for (const auto& [name, meaning] : about.outputs) rows.push_back({name, "", meaning});
    if (!rows.empty()) text += "\noutputs\n" + Lines(rows);
    text += '\n';
    if (!about.source.empty()) text += fmt::format("source      {}\n", about.source);
    if (!about.choice.empty()) text += fmt::format("choice      {}\n", about.choice);
    constexpr std::size_t LongestFormula = 300;  // longer ones are read more easily node by node
    const bool isReadable = compiled.formula.size() <= LongestFormula;
    return text + fmt::format("formula     {}\nlookback    {} bars\n\ndefinition, in {}\n{}\n",
                              isReadable ? compiled.formula : "long; `study explain --plan` shows its nodes",
                              compiled.lookback, study.source->name, about.definition);
}

nlohmann::json DescribeJson(const Library& library, const Definition& study, const std::vector<std::string>& arguments,
                            const OperatorSettings& settings) {
    const Compiled compiled = Compile(library, study, arguments, settings);
    nlohmann::json json = Json(study);
    json["formula"] = compiled.formula;
    json["lookback"] = compiled.lookback;
    return json;
}

std::string DescribeMarkdown(const Definition& study) {
    const Documentation about = About(study);
    std::string text = about.sentence + '\n';
    if (!about.arguments.empty()) text += "\n| Argument | Default | Meaning |\n|---|---|---|\n";
    for (const auto& [name, standard, meaning] : about.arguments) {
        const std::string shown = standard.empty() ? "needed" : fmt::format("`{}`", standard);
        text += fmt::format("| {} | {} | {} |\n", name, shown, meaning);
    }
    if (!about.outputs.empty()) text += "\n| Output | |\n|---|---|\n";
    for (const auto& [name, meaning] : about.outputs) text += fmt::format("| `{}` | {} |\n", name, meaning);
    if (!about.choice.empty()) text += fmt::format("\nChoice: {}\n", about.choice);
    if (!about.source.empty()) text += fmt::format("\nSource: {}.\n", about.source);
    return text + fmt::format("\n```text\n{}\n```\n", about.definition);
}

}  // namespace sarvane::study
