#pragma once

#include "graph/frame_node.h"
#include "graph/graph.h"
#include "language/definitions.h"
#include "operators/operator_library.h"

#include <array>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace sarvane::study {

// One output of an operator or a study, or one price of a bar.
struct NamedOutput {
    std::string name;
    Place place = NoPlace;
    std::string text = {};      // in the words of its operators
    bool inPriceUnits = false;  // measured as the data's prices are
    int unitKind = 3;           // as IZelmorOp::GetOutputUnits gives it
    std::string meaning = {};
    DrawnAs drawing = DrawnAs::Line;
};

// How many bars of a longer frame a value reaches back.
struct FrameReach {
    std::string frame;
    std::size_t lookback = 0;
    std::shared_ptr<const Frame> made = {};
    bool isForming = false;  // it goes by the longer bar that forms, not by closed ones alone
};

// What a part of an expression stands for: places that hold its values on the present bar.
struct Operand {
    std::string text;       // the part in the words of its operators
    Place value = NoPlace;  // as a plain value: a bar's close, or the first output
    std::array<Place, 4> prices = {NoPlace, NoPlace, NoPlace, NoPlace};  // open, high, low, close
    bool isBar = false;
    bool isLabel = false;                 // `value` is a packed chart label
    bool inPriceUnits = false;            // `value` is measured as the data's prices are
    int unitKind = 3;                     // of `value`
    std::size_t depth = 0;                // operators one inside the other
    std::size_t lookback = 0;             // bars, through all of these
    std::vector<FrameReach> frames = {};  // longer bars that it is made of
    std::optional<double> constant;       // the same value on every bar
    std::vector<NamedOutput> outputs;     // where there are several
    DrawnAs drawing = DrawnAs::Line;      // of `value`

    const NamedOutput* FindOutput(std::string_view name) const;
};

// Where the names of an expression lead: the parameters of the function that is being bound, and its outputs so far.
struct Scope {
    struct Argument {
        const Expression* expression = nullptr;     // null if it was left out
        const Scope* scope = nullptr;               // where its own names lead
        bool isStandard = false;                    // the definition's own default
        std::map<std::size_t, Operand> bound = {};  // by number of a graph, once something has asked for it there
    };
    struct Output {
        const Statement* statement = nullptr;
        std::size_t number = 0;  // among the outputs
        std::map<std::size_t, Operand> bound = {};
    };

    const Source* source = nullptr;
    OperatorSettings settings = {};
    std::size_t openDefinitions = 0;  // definitions that were being bound, this scope's own included
    mutable std::map<std::string, Argument, std::less<>> parameters = {};  // by name, in lower case
    mutable std::map<std::string, Output, std::less<>> outputs = {};       // by name, in lower case
    mutable std::size_t outputCount = 0;  // outputs that stand ahead of what is being bound
    mutable bool mayLoop = false;         // `prev` is allowed here
    mutable std::size_t loopGraph = 0;    // number of the graph that the statement which is being bound goes to
    mutable Place memory = NoPlace;       // of its last value there, once `prev` asked for it
};

// Turns the trees of expressions into nodes of a graph.
class Binder {
public:
    // `columnNames` are the names of the data's columns. All of these must outlive the binder.
    Binder(const OperatorLibrary& operators, const Definitions& names, const std::vector<std::string>& columnNames,
           Graph& target)
        : library(operators), definitions(names), columns(columnNames), outermost(target) {}

    // What a whole expression stands for. `scope` says where its names lead and what operators are told, `barSeconds` how
    // long the data's bars are, or 0.
    Outcome<Operand> BindText(const Expression& expression, const Scope& scope, double barSeconds = 0.0);

    std::optional<std::size_t> FindColumn(std::string_view name) const;
    // What is no error and yet worth a word: arguments that their operator does not take as they stand.
    const std::vector<Problem>& Warnings() const { return warnings; }

private:
    struct CallArguments;

    Outcome<Operand> BindWhole(const Expression& expression, const Scope& scope);

    Outcome<Operand> Bind(const Expression& part, const Scope& scope);
    Outcome<Operand> BindWord(const Expression& word, const Scope& scope);
    Outcome<Operand> BindKnownOutput(Scope::Output& output, const Scope& scope);
    Outcome<Operand> BindParameter(Scope::Argument& argument, const Expression& word, const Scope& scope);
    Operand BindColumn(std::size_t column) const;
    Operand BindBar() const;
    Outcome<Operand> BindUnary(const Expression& unary, const Scope& scope);
    Outcome<Operand> BindBinary(const Expression& binary, const Scope& scope);
    Outcome<Operand> BindOutput(const Expression& selection, const Scope& scope);
    Outcome<Operand> BindDelay(const Expression& delay, const Scope& scope);
    Outcome<Operand> BindCall(const Expression& call, const Scope& scope);
    Outcome<Operand> BindFunction(const Expression& call, const Scope& scope);
    Operand AddFrame(const std::shared_ptr<const Frame>& frame, const FrameColumns& at, FrameView view,
                     std::unique_ptr<Graph> inner, const Operand& bound);
    Outcome<Operand> BindFrame(const Expression& call, const Scope& scope);
    Outcome<Operand> BindPrevious(const Expression& call, const Scope& scope);
    Outcome<Operand> BindDefinition(const Definition& definition, const Expression& use, const Scope& scope);
    Outcome<Operand> BindOutputs(const Definition& definition, Scope& inner);
    Outcome<Operand> BindOperator(const OperatorClass& operatorClass, const Expression& call, const Scope& scope);
    Outcome<Operand> BindSign(const Expression& part, std::string_view sign, const Operand& a, const Operand& b,
                              const Scope& scope);

    Outcome<CallArguments> SortArguments(const Expression& call, const std::vector<std::string>& names,
                                         const Scope& scope);
    void WarnOfArgument(const OperatorClass& operatorClass, std::size_t index, const Expression* given,
                        const Expression& call, const Scope& scope);
    template <class OperandOf, class Written>
    Outcome<Operand> AddOperator(const OperatorClass& operatorClass, std::string key, OperatorText called,
                                 ComPtr<IZelmorOp> op, const Expression& part, const Scope& scope, OperandOf operandOf,
                                 Written written);
    // A node of the language's own, with one output.
    template <class Make>
    Operand AddOwnNode(std::string key, std::string text, const std::vector<const Operand*>& sources, Make make);
    Operand Constant(double number);
    // The place of a plain value.
    Outcome<Place> ValueOf(const Operand& operand, const Expression& part, const Scope& scope) const;

    // The number that an expression is on every bar, if it is; found without adding nodes.
    std::optional<double> ConstantOf(const Expression& part, const Scope& scope);
    // The text that an operator's parameter gets.
    std::string ParameterText(const Expression& part, const Scope& scope);
    // A constant whole number in a range.
    Outcome<int> WholeNumber(const Expression& part, const Scope& scope, int least, std::string_view what);

    Problem Fault(const Expression& part, const Scope& scope, std::string message,
                  std::vector<std::string> nearest = {}) const;
    // A fault that was found without knowing the part that it lies in.
    Problem Placed(const Problem& fault, const Expression& part, const Scope& scope) const;
    Problem UnknownName(const Expression& part, const Scope& scope, std::string_view what, bool isCall) const;

    const OperatorLibrary& library;
    const Definitions& definitions;
    const std::vector<std::string>& columns;
    Graph& outermost;             // of whole expressions
    Graph* graph = &outermost;    // that nodes are added to
    std::size_t graphNumber = 0;  // of that graph: each has its own, that of the whole expressions is 0
    std::size_t graphCount = 1;
    double barLength = 0.0;               // seconds of a bar there; 0 if that is not known
    std::vector<const Definition*> open;  // definitions that are being bound, one inside the other
    std::vector<Problem> warnings;
    int depth = 0;
    std::size_t steps = 0;  // parts bound or looked through so far
};

// Whether the values of an output are packed chart labels.
bool IsLabelName(std::string_view output);

// True for names that the language itself takes: its functions and the words of its grammar.
bool IsLanguageName(std::string_view name);

}  // namespace sarvane::study
