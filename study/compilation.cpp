#include "compilation.h"

#include "language/parser.h"
#include "standard_studies.h"

#include <algorithm>
#include <set>

namespace sarvane::study {
namespace {

using Kind = Expression::Kind;

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view Blanks = " \t\r\n;";
    const std::size_t first = text.find_first_not_of(Blanks);
    return first == std::string_view::npos ? "" : text.substr(first, text.find_last_not_of(Blanks) - first + 1);
}

// Compiles one text after the other: the names of each are known to those behind it.
class Compiler {
public:
    Compiler(Compilation& compilation, const CompileSettings& how)
        : target(compilation), settings(how), names(compilation.library->Studies()),
          binder(compilation.library->Operators(), names, compilation.columns, compilation.graph) {}

    std::optional<Problem> Add(const std::string& text, std::size_t number) {
        const auto source =
            std::make_shared<const Source>(Source{number == 0 ? "" : "expression " + std::to_string(number + 1), text});
        Outcome<Script> script = ParseScript(text);
        if (!script) return InSource(script.Fault(), *source);
        std::vector<Statement>& statements = script->statements;
        if (statements.empty()) return Problem{0, text.size(), "this expression is empty", {}, source->name};
        for (std::size_t i = 0; i + 1 < statements.size(); ++i) {
            if (auto problem = Name(statements[i], source)) return problem;
        }
        Statement& last = statements.back();
        const bool isComparison = IsComparison(last);
        if (isComparison) {
            if (auto problem = RestoreComparison(last, *source)) return problem;
        } else if (!last.name.empty()) {
            if (auto problem = Name(last, source)) return problem;
            if (last.isFunction) return std::nullopt;  // a text that only defines
        }
        Scope scope;
        scope.source = source.get();
        scope.settings = settings.operators;
        Expression value = last.body;
        if (!last.name.empty()) {
            value = Expression{};
            value.kind = Kind::Word;
            value.name = last.name;
            value.span = value.nameSpan = last.nameSpan;
        }
        Outcome<Operand> bound = binder.Bind(value, scope);
        if (!bound) return bound.Fault();
        const std::string_view written =
            std::string_view(text).substr(last.span.begin, last.span.end - last.span.begin);
        return AddResults(std::move(*bound), last.name.empty() ? std::string(Trimmed(written)) : last.name, last,
                          *source);
    }

    void Finish() { target.warnings = binder.Warnings(); }

private:
    static Problem InSource(Problem problem, const Source& source) {
        problem.source = source.name;
        return problem;
    }

    // `word = value` compares where the word is a column, else it names the value.
    bool IsComparison(const Statement& statement) const {
        return !statement.name.empty() && !statement.isFunction && statement.outputs.empty() &&
               binder.FindColumn(statement.name);
    }

    std::optional<Problem> RestoreComparison(Statement& statement, const Source& source) const {
        const Expression& body = statement.body;
        const std::string_view sign = body.kind == Kind::Binary && !body.isBracketed ? body.name : "";
        for (const std::string_view comparison : {"<", "<=", ">", ">=", "=", "==", "<>", "!="}) {
            if (sign != comparison) continue;
            return Problem{body.nameSpan.begin,
                           body.nameSpan.end - body.nameSpan.begin,
                           "a comparison is not compared again: write `a > b and b > c`",
                           {},
                           source.name};
        }
        Expression word;
        word.kind = Kind::Word;
        word.name = statement.name;
        word.span = word.nameSpan = statement.nameSpan;
        Expression comparison;
        comparison.kind = Kind::Binary;
        comparison.name = "=";
        comparison.span = statement.span;
        comparison.height = body.height + 1;
        comparison.parts = {std::move(word), body};
        statement.body = std::move(comparison);
        statement.name.clear();
        return std::nullopt;
    }

    std::optional<Problem> Name(const Statement& statement, const std::shared_ptr<const Source>& source) {
        if (!statement.isFunction && binder.FindColumn(statement.name)) {
            return Problem{statement.nameSpan.begin,
                           statement.name.size(),
                           "\"" + statement.name + "\" is a column of the data and can't be a name",
                           {},
                           source->name};
        }
        return names.Add(statement, source);
    }

    std::optional<Problem> AddResults(Operand operand, const std::string& title, const Statement& statement,
                                      const Source& source) {
        target.depth = std::max(target.depth, operand.depth);
        target.lookback = std::max(target.lookback, operand.lookback);
        const std::size_t number = target.expressions.size();
        const bool hasSeveral = operand.outputs.size() > 1;
        if (settings.allOutputs && hasSeveral) {
            for (const NamedOutput& output : operand.outputs) {
                const bool isLabel = EqualIgnoringCase(std::string_view(output.name).substr(0, 5), "label");
                target.results.push_back({title + "." + output.name, output.place, number, output.name,
                                          output.text.empty() ? operand.text + "." + output.name : output.text,
                                          output.meaning, isLabel, output.inPriceUnits, output.unitKind,
                                          output.drawing});
            }
        } else {
            if (operand.value == NoPlace) {
                return Problem{statement.span.begin,
                               statement.span.end - statement.span.begin,
                               "the data has no column \"close\"",
                               {},
                               source.name};
            }
            const std::string meaning = hasSeveral && !operand.isBar ? operand.outputs.front().meaning : "";
            target.results.push_back({title, operand.value, number, "", operand.text, meaning, operand.isLabel,
                                      operand.inPriceUnits, operand.unitKind, operand.drawing});
        }
        target.expressions.push_back(std::move(operand));
        return std::nullopt;
    }

    Compilation& target;
    const CompileSettings& settings;
    Definitions names;
    Binder binder;
};

// Why a definition may not have a name; empty if it may.
std::string RefusalOf(std::string_view name, const std::vector<std::string>& keywords) {
    if (IsLanguageName(name)) return "\"" + std::string(name) + "\" is a word of the language";
    const bool isKeyword =
        std::ranges::any_of(keywords, [&](const std::string& keyword) { return EqualIgnoringCase(keyword, name); });
    return isKeyword ? "\"" + std::string(name) + "\" is an operator" : "";
}

std::vector<std::string> KeywordsOf(const OperatorLibrary& operators) {
    std::vector<std::string> keywords;
    for (const OperatorClass& operatorClass : operators.Classes()) keywords.push_back(operatorClass.keyword);
    return keywords;
}

}  // namespace

StudyLibrary::StudyLibrary(OperatorLibrary loaded)
    : operators(std::move(loaded)),
      definitions([keywords = KeywordsOf(operators)](std::string_view name) { return RefusalOf(name, keywords); }) {}

Outcome<std::shared_ptr<StudyLibrary>> StudyLibrary::Load(const std::string& file) {
    Outcome<OperatorLibrary> operators = OperatorLibrary::Load(file);
    if (!operators) return operators.Fault();
    std::shared_ptr<StudyLibrary> library(new StudyLibrary(std::move(*operators)));
    if (auto problem = library->Define(StandardStudies, "standard.study")) return *problem;
    return library;
}

std::vector<std::size_t> Compilation::UsedColumns() const {
    std::set<std::size_t> used;
    const auto note = [&](Place place) {
        if (place < columns.size()) used.insert(place);
    };
    for (const NodeText& node : graph.Nodes()) std::ranges::for_each(node.inputs, note);
    for (const Operand& expression : expressions) {
        note(expression.value);
        for (const NamedOutput& output : expression.outputs) note(output.place);
    }
    return {used.begin(), used.end()};
}

Outcome<std::unique_ptr<Compilation>> Compile(std::shared_ptr<const StudyLibrary> library,
                                              const std::vector<std::string>& columns,
                                              const std::vector<std::string>& expressions,
                                              const CompileSettings& settings) {
    auto compilation = std::make_unique<Compilation>(columns);
    compilation->library = std::move(library);
    Compiler compiler(*compilation, settings);
    for (std::size_t i = 0; i < expressions.size(); ++i) {
        if (auto problem = compiler.Add(expressions[i], i)) return *problem;
    }
    compiler.Finish();
    return compilation;
}

}  // namespace sarvane::study
