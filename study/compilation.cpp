#include "compilation.h"

#include "language/parser.h"
#include "room.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

namespace sarvane::study {
namespace {

using Kind = Expression::Kind;

// Reads `name = ...` again as the expression that it looks like.
std::optional<Problem> RestoreExpression(Statement& statement, const Source& source) {
    Outcome<Expression> whole = ParseExpression(source.text, statement.span);
    if (!whole) return ProblemIn(whole.Fault(), source);
    statement.name.clear();
    statement.body = std::move(*whole);
    return std::nullopt;
}

// What a statement's value is: its body, or its name where that stands for several outputs.
Expression ValueOf(const Statement& statement) {
    if (statement.name.empty()) return statement.body;
    Expression word;
    word.kind = Kind::Word;
    word.name = statement.name;
    word.span = word.nameSpan = statement.nameSpan;
    return word;
}

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

Compiler::Compiler(std::shared_ptr<const StudyLibrary> library, const std::vector<std::string>& columns)
    : Compiler(library, library->Studies(), columns) {}

Compiler::Compiler(std::shared_ptr<const StudyLibrary> library, const Definitions& studies,
                   const std::vector<std::string>& columns)
    : compilation(std::make_unique<Compilation>(std::move(library), studies, columns)), names(studies),
      binder(compilation->library->Operators(), names, compilation->columns, compilation->graph) {}

std::optional<Problem> Compiler::Add(const std::string& text, const CompileSettings& settings) {
    MakeRoom(compilation->texts);
    CompiledText added = {text, settings};
    auto problem = AddText(text, settings);
    if (!problem) compilation->texts.push_back(std::move(added));
    compilation->warnings = binder.Warnings();
    return problem;
}

std::optional<Problem> Compiler::AddText(const std::string& text, const CompileSettings& settings) {
    const std::size_t number = compilation->texts.size() + 1;
    const auto source =
        std::make_shared<const Source>(Source{number == 1 ? "" : "expression " + std::to_string(number), text});
    Outcome<Script> script = ParseScript(text);
    if (!script) return ProblemIn(script.Fault(), *source);
    std::vector<Statement>& statements = script->statements;
    if (statements.empty()) return ProblemAt({0, text.size()}, "this expression is empty", *source);
    Statement last = std::move(statements.back());
    statements.pop_back();
    for (const Statement& statement : statements) {
        if (auto problem = Name(statement, source)) return problem;
    }
    if (IsComparison(last)) {
        if (auto problem = RestoreExpression(last, *source)) return problem;
    } else if (!last.name.empty()) {
        if (auto problem = Name(last, source)) return problem;
        if (last.isFunction) return std::nullopt;
    }
    Scope scope;
    scope.source = source.get();
    scope.settings = settings.operators;
    Outcome<Operand> bound = binder.BindText(ValueOf(last), scope, settings.barSeconds);
    if (!bound) return bound.Fault();
    const std::string written = text.substr(last.span.begin, last.span.end - last.span.begin);
    return AddResults(std::move(*bound), last.name.empty() ? written : last.name, last, *source, settings.allOutputs);
}

// `word = value` compares where the word is a column, else it names the value.
bool Compiler::IsComparison(const Statement& statement) const {
    return !statement.name.empty() && !statement.isFunction && statement.outputs.empty() &&
           binder.FindColumn(statement.name);
}

std::optional<Problem> Compiler::Name(const Statement& statement, const std::shared_ptr<const Source>& source) {
    if (!statement.isFunction && binder.FindColumn(statement.name)) {
        return ProblemAt(statement.nameSpan, "\"" + statement.name + "\" is a column of the data and can't be a name",
                         *source);
    }
    return names.Add(statement, source);
}

std::optional<Problem> Compiler::AddResults(Operand operand, const std::string& title, const Statement& statement,
                                            const Source& source, bool allOutputs) {
    compilation->depth = std::max(compilation->depth, operand.depth);
    compilation->lookback = std::max(compilation->lookback, operand.lookback);
    const std::size_t number = compilation->expressions.size();
    std::vector<ResultColumn> added;
    if (allOutputs && operand.outputs.size() > 1) {
        for (const NamedOutput& output : operand.outputs) {
            added.push_back({title + "." + output.name, output.place, number, output.name, operand.text, output.meaning,
                             operand.lookback, operand.frames, IsLabelName(output.name), output.inPriceUnits,
                             output.unitKind, output.drawing});
        }
    } else {
        if (operand.value == NoPlace) return ProblemAt(statement.span, "the data has no column \"close\"", source);
        added.push_back({title, operand.value, number, "", operand.text, "", operand.lookback, operand.frames,
                         operand.isLabel, operand.inPriceUnits, operand.unitKind, operand.drawing});
    }
    // All of it is added or, if memory runs out, nothing.
    std::vector<ResultColumn>& results = compilation->results;
    results.reserve(results.size() + added.size());
    compilation->expressions.push_back(std::move(operand));
    std::ranges::move(added, std::back_inserter(results));
    return std::nullopt;
}

Outcome<std::unique_ptr<Compiler>> CompiledAgain(const Compilation& compilation) {
    auto compiler = std::make_unique<Compiler>(compilation.library, compilation.studies, compilation.columns);
    for (const CompiledText& compiled : compilation.texts) {
        if (auto problem = compiler->Add(compiled.text, compiled.settings)) return *problem;
    }
    return compiler;
}

Outcome<std::unique_ptr<Compilation>> CopyOf(const Compilation& compilation) {
    Outcome<std::unique_ptr<Compiler>> compiler = CompiledAgain(compilation);
    if (!compiler) return compiler.Fault();
    return (*compiler)->Finish();
}

}  // namespace sarvane::study
