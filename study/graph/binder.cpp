#include "graph/binder.h"

#include "graph/frame_node.h"
#include "graph/function_nodes.h"
#include "graph/operator_node.h"
#include "language/nearest.h"
#include "language/parser.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <set>
#include <utility>

namespace sarvane::study {
namespace {

using Kind = Expression::Kind;

constexpr int DeepestBinding = 250;
constexpr std::size_t MostSteps = 200000;
constexpr std::size_t MostLookback = 1000000000;

constexpr std::string_view PriceNames[] = {"open", "high", "low", "close"};
enum Price : std::size_t { Open, High, Low, Close };

// Functions of the language, with how many values they take.
struct LanguageFunction {
    std::string_view name;
    std::size_t fewest;
    std::size_t most;
    std::string_view use;  // for messages
};
constexpr LanguageFunction Functions[] = {
    {"abs", 1, 1, "abs(x)"},
    {"sqrt", 1, 1, "sqrt(x)"},
    {"log", 1, 1, "log(x)"},
    {"floor", 1, 1, "floor(x)"},
    {"round", 1, 2, "round(x) or round(x, digits)"},
    {"min", 2, 32, "min(a, b, ...)"},
    {"max", 2, 32, "max(a, b, ...)"},
    {"if", 3, 3, "if(condition, a, b)"},
    {"sum", 2, 2, "sum(x, n)"},
    {"cross", 2, 2, "cross(a, b)"},
    {"defined", 1, 1, "defined(x)"},
    {"fill", 1, 2, "fill(x) or fill(x, other)"},
    {"prev", 1, 1, "prev(start)"},
    {"at", 2, 3, "at(1W, x) or at(1W, x, closed)"},
};

const LanguageFunction* FindLanguageFunction(std::string_view name) {
    const auto found = std::ranges::find_if(
        Functions, [&](const LanguageFunction& known) { return EqualIgnoringCase(known.name, name); });
    return found == std::end(Functions) ? nullptr : found;
}

// Keywords of the operators between a bar and a value, and between a value and a bar.
struct BarSign {
    std::string_view sign, barFirst, valueFirst;
};
constexpr BarSign BarSigns[] = {
    {"+", "BarAdd", "SBarAdd"}, {"-", "BarSub", "SBarSub"}, {"*", "BarMul", "SBarMul"}, {"/", "BarDiv", "SBarDiv"}};

enum UnitOfOutput { UnitsOfInput = 1, UnitsOfItsOwn = 3 };

std::string Lower(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return lower;
}

std::optional<std::size_t> PriceIndex(std::string_view name) {
    const auto found =
        std::ranges::find_if(PriceNames, [&](std::string_view known) { return EqualIgnoringCase(known, name); });
    if (found == std::end(PriceNames)) return std::nullopt;
    return static_cast<std::size_t>(found - std::begin(PriceNames));
}

std::string NumberText(double number) {
    char digits[32];
    return {digits, std::to_chars(digits, std::end(digits), number).ptr};
}

// The text of a constant for an operator, which reads counts as whole numbers.
std::string ArgumentNumber(double number) {
    constexpr double MostWhole = 1e9;
    return number == std::floor(number) && std::abs(number) < MostWhole ? std::to_string(static_cast<long>(number))
                                                                        : NumberText(number);
}

// A value that is used in many places would make formulas too long to be of use, and to be stored.
void CutText(std::string& text) {
    constexpr std::size_t Longest = 4000;
    if (text.size() <= Longest) return;
    std::size_t end = Longest;
    while ((static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;  // not inside a character
    text.replace(end, text.npos, "...");
}

Operand Plain(Place place, std::string text) {
    Operand operand;
    operand.text = std::move(text);
    operand.value = place;
    operand.prices.fill(place);
    return operand;
}

void TakeFrame(std::vector<FrameReach>& frames, const FrameReach& reach) {
    const auto known = std::ranges::find(frames, reach.frame, &FrameReach::frame);
    if (known == frames.end()) {
        frames.push_back(reach);
    } else {
        known->lookback = std::max(known->lookback, reach.lookback);
        known->isForming |= reach.isForming;
    }
}

// The farther one counts.
void TakeReach(Operand& operand, const Operand& source) {
    operand.depth = std::max(operand.depth, source.depth);
    operand.lookback = std::max(operand.lookback, source.lookback);
    for (const FrameReach& reach : source.frames) TakeFrame(operand.frames, reach);
}

// An operator's formula with the texts of its curves in the places for them. A formula that has not a place for each
// says less than what the user wrote, and gives none.
std::optional<std::string> FilledFormula(std::string_view formula,
                                         const std::map<std::size_t, const Operand*>& curves) {
    std::string filled;
    auto curve = curves.begin();
    for (std::size_t place; (place = formula.find("%s")) != std::string_view::npos; ++curve) {
        if (curve == curves.end()) return std::nullopt;
        filled.append(formula.substr(0, place)).append(curve->second->text);
        formula.remove_prefix(place + 2);
    }
    if (curve != curves.end()) return std::nullopt;
    return filled.append(formula);
}

// Sums and differences of prices are measured as prices are, and so are their multiples and fractions.
bool KeepsPriceUnits(std::string_view sign, const Operand& a, const Operand& b) {
    if (sign == "+" || sign == "-") return a.inPriceUnits || b.inPriceUnits;
    if (a.inPriceUnits && b.constant) return sign == "*" || sign == "/";
    return b.inPriceUnits && a.constant && sign == "*";
}

// A list of names in words: "a, b and c".
std::string Listed(const std::vector<NamedOutput>& outputs) {
    std::string list;
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        if (i > 0) list += i + 1 < outputs.size() ? ", " : " and ";
        list += outputs[i].name;
    }
    return list;
}

std::string InQuotes(std::string_view text) {
    std::string quoted = "\"";
    quoted.append(text).append("\"");
    return quoted;
}

bool IsNamedPart(const Expression& part) {
    return part.kind == Kind::Binary && part.name == "=" && !part.isBracketed && part.parts[0].kind == Kind::Word &&
           !part.parts[0].isQuoted && !part.parts[0].isBracketed;
}

}  // namespace

bool IsLabelName(std::string_view output) { return EqualIgnoringCase(output.substr(0, 5), "label"); }

bool IsLanguageName(std::string_view name) {
    return FindLanguageFunction(name) || EqualIgnoringCase(name, "and") || EqualIgnoringCase(name, "or") ||
           EqualIgnoringCase(name, "not") || EqualIgnoringCase(name, "Bar");
}

const NamedOutput* Operand::FindOutput(std::string_view name) const {
    const auto found =
        std::ranges::find_if(outputs, [&](const NamedOutput& output) { return EqualIgnoringCase(output.name, name); });
    return found == outputs.end() ? nullptr : &*found;
}

// The arguments of a call by the places of their names, and the settings that it carries.
struct Binder::CallArguments {
    std::vector<const Expression*> given;  // null where one was left out
    OperatorSettings settings;
};

// ---- Any part

// A text before this one may have been left in the middle, if memory ran out.
Outcome<Operand> Binder::BindText(const Expression& expression, const Scope& scope, double barSeconds) {
    open.clear();
    depth = 0;
    graph = &outermost;
    graphNumber = 0;
    barLength = barSeconds;
    return BindWhole(expression, scope);
}

// A value that is made of its own last value is a plain one.
Outcome<Operand> Binder::BindWhole(const Expression& expression, const Scope& scope) {
    const bool couldLoop = std::exchange(scope.mayLoop, true);
    const std::size_t outerGraph = std::exchange(scope.loopGraph, graphNumber);
    const Place outer = std::exchange(scope.memory, NoPlace);
    Outcome<Operand> bound = Bind(expression, scope);
    const Place memory = std::exchange(scope.memory, outer);
    scope.loopGraph = outerGraph;
    scope.mayLoop = couldLoop;
    if (!bound || memory == NoPlace) return bound;
    const Outcome<Place> value = ValueOf(*bound, expression, scope);
    if (!value) return value.Fault();
    Operand result = Plain(graph->CloseLoop(memory, *value, bound->text), bound->text);
    TakeReach(result, *bound);
    result.lookback += static_cast<std::size_t>(scope.settings.history);
    result.inPriceUnits = bound->inPriceUnits;
    result.unitKind = bound->unitKind;
    result.drawing = bound->drawing;
    return result;
}

Outcome<Operand> Binder::Bind(const Expression& part, const Scope& scope) {
    if (depth >= DeepestBinding) return Fault(part, scope, "definitions and expressions are nested too deeply here");
    if (++steps > MostSteps) return Fault(part, scope, "this stands for too many operations");
    ++depth;
    Outcome<Operand> bound = [&]() -> Outcome<Operand> {
        switch (part.kind) {
        case Kind::Number: return Constant(part.number);
        case Kind::Word: return BindWord(part, scope);
        case Kind::Call: return BindCall(part, scope);
        case Kind::Unary: return BindUnary(part, scope);
        case Kind::Binary: return BindBinary(part, scope);
        case Kind::Output: return BindOutput(part, scope);
        case Kind::Delay: return BindDelay(part, scope);
        case Kind::Empty: break;
        }
        return Fault(part, scope, "expected a value");
    }();
    --depth;
    if (bound) {
        CutText(bound->text);
        for (NamedOutput& output : bound->outputs) CutText(output.text);
    }
    return bound;
}

Operand Binder::Constant(double number) {
    Operand operand = Plain(graph->AddConstant(number), NumberText(number));
    operand.constant = number;
    return operand;
}

Outcome<Place> Binder::ValueOf(const Operand& operand, const Expression& part, const Scope& scope) const {
    if (operand.value == NoPlace) return Fault(part, scope, "the data has no column \"close\"");
    return operand.value;
}

// ---- Words

std::optional<std::size_t> Binder::FindColumn(std::string_view name) const {
    const auto found =
        std::ranges::find_if(columns, [&](const std::string& column) { return EqualIgnoringCase(column, name); });
    if (found == columns.end()) return std::nullopt;
    return static_cast<std::size_t>(found - columns.begin());
}

Outcome<Operand> Binder::BindWord(const Expression& word, const Scope& scope) {
    if (!word.isQuoted) {
        const std::string lower = Lower(word.name);
        const auto output = scope.outputs.find(lower);
        if (output != scope.outputs.end() && output->second.number < scope.outputCount) {
            return BindKnownOutput(output->second, scope);
        }
        if (const auto known = scope.parameters.find(lower); known != scope.parameters.end()) {
            return BindParameter(known->second, word, scope);
        }
    }
    if (const auto column = FindColumn(word.name)) return BindColumn(*column);
    if (word.isQuoted) return UnknownName(word, scope, "the data has no column ", false);
    if (EqualIgnoringCase(word.name, "Bar")) return BindBar();
    const Definition* const definition = definitions.Find(word.name);
    if (!definition) return UnknownName(word, scope, "there is no column and no name ", false);
    return BindDefinition(*definition, word, scope);  // of a function, with all its defaults
}

// An output ahead of the one that is being bound. A graph that has not seen it yet calculates it anew.
Outcome<Operand> Binder::BindKnownOutput(Scope::Output& output, const Scope& scope) {
    if (const auto known = output.bound.find(graphNumber); known != output.bound.end()) return known->second;
    const std::size_t visible = std::exchange(scope.outputCount, output.number);
    Outcome<Operand> bound = BindWhole(output.statement->body, scope);
    scope.outputCount = visible;
    if (bound) output.bound.emplace(graphNumber, *bound);
    return bound;
}

Outcome<Operand> Binder::BindParameter(Scope::Argument& argument, const Expression& word, const Scope& scope) {
    if (!argument.expression) return Fault(word, scope, "a value for `" + word.name + "` is missing");
    auto known = argument.bound.find(graphNumber);
    if (known == argument.bound.end()) {
        // The argument belongs to the caller: a study may be called with a call of itself.
        std::vector<const Definition*> callers(
            open.begin(), open.begin() + static_cast<std::ptrdiff_t>(argument.scope->openDefinitions));
        std::swap(open, callers);
        const bool couldLoop = argument.scope->mayLoop;
        if (argument.isStandard) argument.scope->mayLoop = false;
        Outcome<Operand> bound = Bind(*argument.expression, *argument.scope);
        argument.scope->mayLoop = couldLoop;
        std::swap(open, callers);
        if (!bound) return bound;
        known = argument.bound.emplace(graphNumber, std::move(*bound)).first;
    }
    return known->second;
}

Operand Binder::BindColumn(std::size_t column) const {
    Operand operand = Plain(column, columns[column]);
    operand.inPriceUnits = PriceIndex(columns[column]).has_value();
    operand.unitKind = operand.inPriceUnits ? UnitsOfInput : UnitsOfItsOwn;
    return operand;
}

// The data's own bar. Prices that it lacks stay empty until something asks for them.
Operand Binder::BindBar() const {
    Operand bar;
    bar.text = "Bar";
    bar.inPriceUnits = true;
    bar.unitKind = UnitsOfInput;
    bar.isBar = true;
    for (std::size_t price = 0; price < bar.prices.size(); ++price) {
        const auto column = FindColumn(PriceNames[price]);
        if (!column) continue;
        bar.prices[price] = *column;
        const std::string name(PriceNames[price]);
        bar.outputs.push_back({name, *column, "Bar." + name, true, UnitsOfInput});
    }
    bar.value = bar.prices[Close];
    return bar;
}

// ---- Signs

Outcome<Operand> Binder::BindUnary(const Expression& unary, const Scope& scope) {
    const Outcome<Operand> operand = Bind(unary.parts[0], scope);
    if (!operand) return operand;
    if (unary.name == "-" && operand->isBar) return BindSign(unary, "-", Constant(0.0), *operand, scope);
    const UnaryFunction rule = FindUnary(unary.name);
    if (operand->constant) return Constant(rule(*operand->constant));
    const Outcome<Place> value = ValueOf(*operand, unary.parts[0], scope);
    if (!value) return value.Fault();
    const std::string text = unary.name + (unary.name == "-" ? "" : " ") + operand->text;
    Operand result = AddOwnNode(unary.name, text, {&*operand},
                                [&](Place to) { return std::make_unique<UnaryNode>(rule, *value, to); });
    if (unary.name == "-") result.inPriceUnits = operand->inPriceUnits;
    return result;
}

Outcome<Operand> Binder::BindBinary(const Expression& binary, const Scope& scope) {
    const Outcome<Operand> a = Bind(binary.parts[0], scope);
    if (!a) return a;
    const Outcome<Operand> b = Bind(binary.parts[1], scope);
    if (!b) return b;
    return BindSign(binary, binary.name, *a, *b, scope);
}

Outcome<Operand> Binder::BindSign(const Expression& part, std::string_view sign, const Operand& a, const Operand& b,
                                  const Scope& scope) {
    const auto barSign = std::ranges::find(BarSigns, sign, &BarSign::sign);
    if (barSign != std::end(BarSigns) && (a.isBar || b.isBar)) {
        const std::string_view keyword = a.isBar ? barSign->barFirst : barSign->valueFirst;
        const OperatorClass* const operatorClass = library.Find(keyword);
        if (!operatorClass) return Fault(part, scope, "the operator library has no " + std::string(keyword));
        Outcome<ComPtr<IZelmorOp>> op = library.Create(*operatorClass, scope.settings);
        if (!op) return Placed(op.Fault(), part, scope);
        return AddOperator(
            *operatorClass, std::string(keyword), {std::string(keyword), {}, {}, {}}, std::move(*op), part, scope,
            [&](std::size_t argument) {
                return Outcome<const Operand*>(argument == 0 ? &a : argument == 1 ? &b : nullptr);
            },
            [&] { return a.text + " " + std::string(sign) + " " + b.text; });
    }
    const BinaryFunction rule = FindBinary(sign);
    if (a.constant && b.constant) {
        const double folded = rule(*a.constant, *b.constant);
        if (!IsUndefined(folded)) return Constant(folded);
    }
    const Outcome<Place> left = ValueOf(a, part, scope);
    if (!left) return left.Fault();
    const Outcome<Place> right = ValueOf(b, part, scope);
    if (!right) return right.Fault();
    const std::string text = "(" + a.text + " " + std::string(sign) + " " + b.text + ")";
    Operand result = AddOwnNode(std::string(sign), text, {&a, &b},
                                [&](Place to) { return std::make_unique<BinaryNode>(rule, *left, *right, to); });
    result.inPriceUnits = KeepsPriceUnits(sign, a, b);
    result.unitKind = result.inPriceUnits ? UnitsOfInput : UnitsOfItsOwn;
    return result;
}

Outcome<Operand> Binder::BindOutput(const Expression& selection, const Scope& scope) {
    const Outcome<Operand> whole = Bind(selection.parts[0], scope);
    if (!whole) return whole;
    const NamedOutput* const output = whole->FindOutput(selection.name);
    if (!output) {
        std::vector<std::string> known;
        for (const NamedOutput& each : whole->outputs) known.push_back(each.name);
        Problem problem =
            Fault(selection, scope,
                  "no output " + InQuotes(selection.name) +
                      (known.empty() ? " here: this is a plain value" : "; there are " + Listed(whole->outputs)),
                  NearestWords(selection.name, known));
        problem.offset = selection.nameSpan.begin;
        problem.length = selection.nameSpan.end - selection.nameSpan.begin;
        return problem;
    }
    Operand operand = Plain(output->place, output->text.empty() ? whole->text + "." + output->name : output->text);
    operand.inPriceUnits = output->inPriceUnits;
    operand.unitKind = output->unitKind;
    operand.drawing = output->drawing;
    operand.isLabel = IsLabelName(selection.name);
    TakeReach(operand, *whole);
    return operand;
}

Outcome<Operand> Binder::BindDelay(const Expression& delay, const Scope& scope) {
    const Outcome<int> bars = WholeNumber(delay.parts[1], scope, 0, "how many bars back");
    if (!bars) return bars.Fault();
    const Outcome<Operand> operand = Bind(delay.parts[0], scope);
    if (!operand || *bars == 0 || operand->constant) return operand;
    const auto delayed = [&](Place from) {
        return graph->AddNode("delay " + std::to_string(*bars), operand->text + "[" + std::to_string(*bars) + "]",
                              {from}, 1, [&](Place to) { return std::make_unique<DelayNode>(*bars, from, to); });
    };
    Operand result = *operand;
    result.text += "[" + std::to_string(*bars) + "]";
    result.lookback += static_cast<std::size_t>(*bars);
    if (operand->isBar) {
        for (Place& price : result.prices) price = price == NoPlace ? NoPlace : delayed(price);
        for (NamedOutput& output : result.outputs) output.place = delayed(output.place);
        result.value = result.prices[Close];
        return result;
    }
    const Outcome<Place> value = ValueOf(*operand, delay.parts[0], scope);
    if (!value) return value.Fault();
    result.value = delayed(*value);
    result.prices.fill(result.value);
    result.outputs.clear();
    return result;
}

// ---- Calls

Outcome<Operand> Binder::BindCall(const Expression& call, const Scope& scope) {
    if (const OperatorClass* const operatorClass = library.Find(call.name)) {
        return BindOperator(*operatorClass, call, scope);
    }
    if (FindLanguageFunction(call.name)) return BindFunction(call, scope);
    const Definition* const definition = definitions.Find(call.name);
    if (!definition) return UnknownName(call, scope, "there is no operator and no study ", true);
    if (!definition->statement.isFunction && !call.parts.empty()) {
        return Fault(call, scope, definition->statement.name + " takes no arguments");
    }
    return BindDefinition(*definition, call, scope);
}

Outcome<Operand> Binder::BindFunction(const Expression& call, const Scope& scope) {
    const LanguageFunction& function = *FindLanguageFunction(call.name);
    if (call.parts.size() < function.fewest || call.parts.size() > function.most) {
        return Fault(call, scope, "write " + std::string(function.use));
    }
    const std::string name(function.name);
    if (name == "prev") return BindPrevious(call, scope);
    if (name == "at") return BindFrame(call, scope);
    const auto make = [&](auto builder, const std::vector<Operand>& from, const std::string& key) {
        std::string text = name + "(";
        std::vector<const Operand*> sources;
        for (const Operand& operand : from) {
            if (!sources.empty()) text += ", ";
            text += operand.text;
            sources.push_back(&operand);
        }
        return AddOwnNode(key, text + ")", sources, builder);
    };
    std::vector<Operand> values;
    std::vector<Place> places;
    const std::size_t curves = name == "sum" ? 1 : call.parts.size();
    for (std::size_t i = 0; i < curves; ++i) {
        const Outcome<Operand> operand = Bind(call.parts[i], scope);
        if (!operand) return operand;
        const Outcome<Place> place = ValueOf(*operand, call.parts[i], scope);
        if (!place) return place.Fault();
        values.push_back(*operand);
        places.push_back(*place);
    }
    const bool areConstant =
        std::ranges::all_of(values, [](const Operand& value) { return value.constant.has_value(); });
    if (name == "sum") {
        const Outcome<int> count = WholeNumber(call.parts[1], scope, 1, "how many values to add up");
        if (!count) return count.Fault();
        const std::string length = std::to_string(*count);
        Operand result = AddOwnNode("sum " + length, "sum(" + values[0].text + ", " + length + ")", {&values[0]},
                                    [&](Place to) { return std::make_unique<SumNode>(*count, places[0], to); });
        result.lookback += static_cast<std::size_t>(*count);
        return result;
    }
    if (name == "defined") {
        return make([&](Place to) { return std::make_unique<DefinedNode>(places[0], to); }, values, name);
    }
    if (name == "cross") {
        Operand result =
            make([&](Place to) { return std::make_unique<CrossNode>(places[0], places[1], to); }, values, name);
        ++result.lookback;
        return result;
    }
    if (name == "fill" && values.size() == 1) {
        Operand result = make([&](Place to) { return std::make_unique<HoldNode>(places[0], to); }, values, name);
        result.inPriceUnits = values[0].inPriceUnits;
        return result;
    }
    if (name == "fill") {
        Operand result =
            make([&](Place to) { return std::make_unique<ReplaceNode>(places[0], places[1], to); }, values, name);
        result.inPriceUnits = values[0].inPriceUnits;
        return result;
    }
    if (name == "if") {
        Operand result = make(
            [&](Place to) { return std::make_unique<ChoiceNode>(places[0], places[1], places[2], to); }, values, name);
        result.inPriceUnits = values[1].inPriceUnits && values[2].inPriceUnits;
        return result;
    }
    if (values.size() == 1) {
        const UnaryFunction rule = FindUnary(name);
        if (areConstant) {
            const double folded = rule(*values[0].constant);
            if (!IsUndefined(folded)) return Constant(folded);
        }
        Operand result = make([&](Place to) { return std::make_unique<UnaryNode>(rule, places[0], to); }, values, name);
        if (name == "abs" || name == "round" || name == "floor") result.inPriceUnits = values[0].inPriceUnits;
        return result;
    }
    // Functions of more than two values go from left to right.
    const BinaryFunction rule = FindBinary(name);
    Operand result = values[0];
    for (std::size_t i = 1; i < values.size(); ++i) {
        const std::vector<Operand> pair = {result, values[i]};
        if (pair[0].constant && pair[1].constant) {
            const double folded = rule(*pair[0].constant, *pair[1].constant);
            if (!IsUndefined(folded)) {
                result = Constant(folded);
                continue;
            }
        }
        result = make([&](Place to) { return std::make_unique<BinaryNode>(rule, pair[0].value, pair[1].value, to); },
                      pair, name);
        result.inPriceUnits = pair[0].inPriceUnits && (pair[1].inPriceUnits || name == "round");
    }
    return result;
}

// at(frame, x) and at(frame, x, closed): names in `x` stand for what they are on the longer bars.
Outcome<Operand> Binder::BindFrame(const Expression& call, const Scope& scope) {
    const Expression& part = call.parts[1];
    Outcome<Frame> read = Frame::Read(ParameterText(call.parts[0], scope));
    if (!read) return Placed(read.Fault(), call.parts[0], scope);
    const auto frame = std::make_shared<const Frame>(std::move(*read));
    const bool isClosed = call.parts.size() == 3;
    if (isClosed && !EqualIgnoringCase(ParameterText(call.parts[2], scope), "closed")) {
        return Fault(call.parts[2], scope, "write at(1W, x), or at(1W, x, closed) for the last closed bar");
    }
    const FrameColumns at = FrameColumns::Among(columns);
    const char* missing = nullptr;
    at.ReadBy(frame->Kind(), missing);
    if (missing) {
        return Fault(call.parts[0], scope,
                     "bars of " + frame->Text() + " need a column " + InQuotes(missing) + ", which the data has not" +
                         (EqualIgnoringCase(missing, "time") ? ": the bar's time in seconds since 1970, UTC" : ""));
    }
    auto inner = std::make_unique<Graph>(columns.size());
    Graph* const outer = std::exchange(graph, inner.get());
    const std::size_t outerNumber = std::exchange(graphNumber, graphCount++);
    const double outerLength = std::exchange(barLength, frame->Seconds());
    Outcome<Operand> bound = BindWhole(part, scope);
    graph = outer;
    graphNumber = outerNumber;
    barLength = outerLength;
    if (!bound || bound->constant) return bound ? Constant(*bound->constant) : bound;
    if (!isClosed && !inner->WithoutSnapshots().empty()) {
        return Fault(part, scope,
                     inner->WithoutSnapshots().front() +
                         " keeps no snapshots and can't show a bar that forms; write `closed` behind it");
    }
    return AddFrame(frame, at, isClosed ? FrameView::Closed : FrameView::Forming, std::move(inner), *bound);
}

// A node that drives `inner`, of which it shows what `bound` stands for there.
Operand Binder::AddFrame(const std::shared_ptr<const Frame>& frame, const FrameColumns& at, FrameView view,
                         std::unique_ptr<Graph> inner, const Operand& bound) {
    std::vector<Place> shown;  // places in the inner graph
    const auto show = [&](Place place) {
        if (place != NoPlace && std::ranges::find(shown, place) == shown.end()) shown.push_back(place);
    };
    show(bound.value);
    std::ranges::for_each(bound.prices, show);
    for (const NamedOutput& output : bound.outputs) show(output.place);

    // The outer graph wants the results one behind the other, as the last values of the inner one.
    if (view == FrameView::Forming && !inner->EndsWith(shown)) {
        inner->AddNode("copy", "", shown, shown.size(),
                       [&](Place to) { return std::make_unique<CopyNode>(shown, to); });
    }

    std::set<Place> used;  // columns
    const auto use = [&](Place place) {
        if (place < columns.size()) used.insert(place);
    };
    for (const NodeText& node : inner->Nodes()) std::ranges::for_each(node.inputs, use);
    std::ranges::for_each(shown, use);
    std::vector<FrameBar::Column> rules;
    for (const Place column : used) rules.push_back({column, column, RuleOf(columns[column])});
    const std::size_t width = used.empty() ? 0 : *used.rbegin() + 1;
    const char* missing = nullptr;
    for (const std::size_t column : at.ReadBy(frame->Kind(), missing)) use(column);

    const std::string end = view == FrameView::Closed ? ", closed)" : ")";
    const auto written = [&](const std::string& text) { return "at(" + frame->Text() + ", " + text + end; };
    std::string rule = "at " + frame->Text() + end + " {" + inner->Rules() + "}";
    for (const Place place : shown) rule.append(" ").append(std::to_string(place));
    Graph* driven = nullptr;  // by a new node; an equal one has its own
    const Place first = graph->AddFrameNode(rule, written(bound.text), std::vector<Place>(used.begin(), used.end()),
                                            shown.size(), view == FrameView::Forming, *inner, [&](Place to) {
                                                graph->NoteInner(*inner);
                                                driven = inner.get();
                                                return std::make_unique<FrameNode>(FrameBar(frame, at, rules), view,
                                                                                   std::move(inner), width, shown, to);
                                            });

    if (driven) graph->Note(first, FrameText{frame, view, driven, shown});

    const auto outside = [&](Place place) {
        const auto found = std::ranges::find(shown, place);
        return found == shown.end() ? NoPlace : first + static_cast<Place>(found - shown.begin());
    };
    const auto drawn = [](DrawnAs drawing) { return drawing == DrawnAs::Line ? DrawnAs::Step : drawing; };
    Operand result = bound;
    result.text = written(bound.text);
    result.value = outside(bound.value);
    for (Place& price : result.prices) price = outside(price);
    for (NamedOutput& output : result.outputs) {
        output.place = outside(output.place);
        if (!output.text.empty()) output.text = written(output.text);
        output.drawing = drawn(output.drawing);
    }
    result.drawing = drawn(bound.drawing);
    const std::size_t bars = std::max<std::size_t>(bound.lookback + (view == FrameView::Closed), 1);
    result.lookback = std::min<std::size_t>(bars, MostLookback) * std::min(frame->MostBars(barLength), MostLookback);
    TakeFrame(result.frames, {frame->Text(), bound.lookback, frame, view == FrameView::Forming});
    return result;
}

// The last value of the expression around it: `start` while there was none.
Outcome<Operand> Binder::BindPrevious(const Expression& call, const Scope& scope) {
    if (!scope.mayLoop) return Fault(call, scope, "a default can't be made of an expression's last value");
    if (scope.loopGraph != graphNumber) {
        return Fault(call, scope, "the last value on the bars outside can't be used on the longer bars of `at`");
    }
    const Outcome<Operand> start = Bind(call.parts[0], scope);
    if (!start) return start;
    const Outcome<Place> other = ValueOf(*start, call.parts[0], scope);
    if (!other) return other.Fault();
    if (scope.memory == NoPlace) scope.memory = graph->OpenLoop();
    const Operand memory = Plain(scope.memory, "");
    Operand result = AddOwnNode("fill", "prev(" + start->text + ")", {&memory, &*start},
                                [&](Place to) { return std::make_unique<ReplaceNode>(scope.memory, *other, to); });
    result.inPriceUnits = start->inPriceUnits;
    result.unitKind = start->unitKind;
    return result;
}

Outcome<Binder::CallArguments> Binder::SortArguments(const Expression& call, const std::vector<std::string>& names,
                                                     const Scope& scope) {
    CallArguments sorted;
    sorted.settings = scope.settings;
    sorted.given.resize(names.size(), nullptr);
    std::vector<bool> isTaken(names.size(), false);
    std::size_t next = 0;
    bool hasNames = false;
    for (const Expression& part : call.parts) {
        if (IsNamedPart(part)) {
            const Expression& word = part.parts[0];
            const auto found = std::ranges::find_if(
                names, [&](const std::string& name) { return EqualIgnoringCase(name, word.name); });
            const bool isDigits = EqualIgnoringCase(word.name, "digits"),
                       isHistory = EqualIgnoringCase(word.name, "history");
            if (found != names.end()) {
                const auto index = static_cast<std::size_t>(found - names.begin());
                if (isTaken[index]) return Fault(part, scope, "`" + names[index] + "` is given twice");
                isTaken[index] = true;
                sorted.given[index] = &part.parts[1];
                hasNames = true;
                continue;
            }
            if (isDigits || isHistory) {
                const auto number = ConstantOf(part.parts[1], scope);
                const bool isWhole = number && *number == std::floor(*number) && std::abs(*number) <= 1e9;
                if (!isWhole) return Fault(part.parts[1], scope, "`" + Lower(word.name) + "` is a whole number");
                const int value = static_cast<int>(*number);
                if (isDigits)
                    sorted.settings.digits = value;
                else
                    sorted.settings.history = value;
                continue;
            }
            if (!FindColumn(word.name) && !definitions.Find(word.name) &&
                !scope.parameters.contains(Lower(word.name)) && !scope.outputs.contains(Lower(word.name))) {
                return Fault(word, scope, call.name + " has no argument " + InQuotes(word.name),
                             NearestWords(word.name, names));
            }
        }
        if (hasNames) return Fault(part, scope, "an argument without a name stands ahead of those with names");
        if (next == names.size()) {
            return Fault(part, scope,
                         call.name + " takes " + std::to_string(names.size()) +
                             (names.size() == 1 ? " argument at most" : " arguments at most"));
        }
        if (part.kind != Kind::Empty) sorted.given[next] = &part;
        isTaken[next++] = part.kind != Kind::Empty;
    }
    return sorted;
}

// ---- Definitions

Outcome<Operand> Binder::BindDefinition(const Definition& definition, const Expression& use, const Scope& scope) {
    const Statement& statement = definition.statement;
    if (std::ranges::find(open, &definition) != open.end()) {
        return Fault(use, scope, statement.name + " is defined by itself");
    }
    Scope inner;
    inner.source = definition.source.get();
    inner.settings = scope.settings;
    if (statement.isFunction) {
        std::vector<std::string> names;
        for (const FormalParameter& parameter : statement.parameters) names.push_back(parameter.name);
        const Outcome<CallArguments> sorted = SortArguments(use, names, scope);
        if (!sorted) return sorted.Fault();
        inner.settings = sorted->settings;
        for (std::size_t i = 0; i < names.size(); ++i) {
            const FormalParameter& parameter = statement.parameters[i];
            if (sorted->given[i]) {
                const Expression& given = *sorted->given[i];
                if (i == 0 && given.kind == Kind::Number && !parameter.standard && open.empty()) {
                    const std::string number = NumberText(given.number);
                    warnings.push_back(Fault(given, scope,
                                             "`" + parameter.name + "` of " + statement.name + " is " + number +
                                                 " on every bar; did you mean " + statement.name + "(Close, " + number +
                                                 ")?"));
                }
                inner.parameters[Lower(parameter.name)] = {&given, &scope};
            } else if (parameter.standard) {
                inner.parameters[Lower(parameter.name)] = {&*parameter.standard, &inner, true};
            } else {
                return Fault(use, scope, statement.name + " needs `" + parameter.name + "`");
            }
        }
    }
    open.push_back(&definition);
    inner.openDefinitions = open.size();
    Outcome<Operand> bound =
        statement.outputs.empty() ? BindWhole(statement.body, inner) : BindOutputs(definition, inner);
    open.pop_back();
    if (bound || bound.Fault().source == scope.source->name) return bound;
    Problem problem = bound.Fault();  // in another text: say what led there
    problem.message += ", in " + statement.name;
    return problem;
}

// A study with several outputs. The first one is its plain value.
Outcome<Operand> Binder::BindOutputs(const Definition& definition, Scope& inner) {
    Operand whole;
    for (const Statement& output : definition.statement.outputs) {
        const Outcome<Operand> bound = BindWhole(output.body, inner);
        if (!bound) return bound;
        const Outcome<Place> value = ValueOf(*bound, output.body, inner);
        if (!value) return value.Fault();
        if (!IsIntermediate(output.name)) {
            whole.outputs.push_back({output.name, *value, bound->text, bound->inPriceUnits, bound->unitKind,
                                     output.comment, bound->drawing});
            TakeReach(whole, *bound);
        }
        Scope::Output& known = inner.outputs[Lower(output.name)];
        known = {&output, inner.outputCount++, {}};
        known.bound.emplace(graphNumber, *bound);
    }
    const NamedOutput& first = whole.outputs.front();
    whole.text = first.text;
    whole.isBar = std::ranges::all_of(PriceNames, [&](std::string_view name) { return whole.FindOutput(name); });
    for (std::size_t price = 0; price < whole.prices.size(); ++price) {
        const NamedOutput* const named = whole.FindOutput(PriceNames[price]);
        whole.prices[price] = named ? named->place : first.place;
    }
    whole.value = whole.isBar ? whole.prices[Close] : first.place;
    whole.inPriceUnits = first.inPriceUnits;
    whole.unitKind = first.unitKind;
    whole.drawing = first.drawing;
    return whole;
}

// ---- Operators

Outcome<Operand> Binder::BindOperator(const OperatorClass& operatorClass, const Expression& call, const Scope& scope) {
    std::vector<std::string> names;
    for (const ArgumentInfo& argument : operatorClass.arguments) names.push_back(argument.name);
    const Outcome<CallArguments> sorted = SortArguments(call, names, scope);
    if (!sorted) return sorted.Fault();
    Outcome<ComPtr<IZelmorOp>> op = library.Create(operatorClass, sorted->settings);
    if (!op) return Placed(op.Fault(), call, scope);
    std::string key = operatorClass.keyword + " h" + std::to_string(sorted->settings.history);
    if (sorted->settings.digits) key += " d" + std::to_string(*sorted->settings.digits);
    OperatorText called{operatorClass.keyword, std::vector<std::string>(names.size()), {}, {}, sorted->settings.digits};
    for (std::size_t i = 1; i < names.size(); ++i) {
        WarnOfArgument(operatorClass, i, sorted->given[i], call, scope);
        if (!sorted->given[i]) continue;
        const std::string text = ParameterText(*sorted->given[i], scope);
        const std::string refusal = library.SetArgument(*op->Get(), operatorClass, static_cast<int>(i), text);
        if (!refusal.empty()) return Fault(*sorted->given[i], scope, operatorClass.keyword + ": " + refusal);
        called.arguments[i] = text;
        key.append(" ")
            .append(std::to_string(i))
            .append("=")
            .append(std::to_string(text.size()))
            .append(":")
            .append(text);
    }
    std::map<std::size_t, Operand> bound;
    const auto operandOf = [&](std::size_t argument) -> Outcome<const Operand*> {
        if (argument >= names.size() || !sorted->given[argument]) {
            return Outcome<const Operand*>(static_cast<const Operand*>(nullptr));
        }
        if (const auto known = bound.find(argument); known != bound.end()) return &known->second;
        Outcome<Operand> operand = Bind(*sorted->given[argument], scope);
        if (!operand) return operand.Fault();
        return &bound.emplace(argument, std::move(*operand)).first->second;
    };
    const auto written = [&] {
        std::string text = operatorClass.keyword + "(";
        std::size_t last = names.size();
        while (last > 0 && !sorted->given[last - 1]) --last;
        for (std::size_t i = 0; i < last; ++i) {
            if (i > 0) text += ", ";
            if (const auto known = bound.find(i); known != bound.end()) {
                text += known->second.text;
            } else if (sorted->given[i]) {
                text += ParameterText(*sorted->given[i], scope);
            }
        }
        return text + ")";
    };
    return AddOperator(operatorClass, std::move(key), std::move(called), std::move(*op), call, scope, operandOf,
                       written);
}

// An operator takes a text that it can't use for an unset parameter, and says nothing.
void Binder::WarnOfArgument(const OperatorClass& operatorClass, std::size_t index, const Expression* given,
                            const Expression& call, const Scope& scope) {
    const ArgumentInfo& argument = operatorClass.arguments[index];
    const std::string name = operatorClass.keyword + ": `" + argument.name + "`";
    const bool isNumber = argument.kind == ArgumentKind::Count || argument.kind == ArgumentKind::Number;
    if (!given) {
        const bool isNeeded = isNumber && argument.standard.empty() && !argument.isOptional && !argument.canBeBound;
        if (isNeeded) warnings.push_back(Fault(call, scope, name + " is missing; without it there is no result"));
        return;
    }
    const auto number = ConstantOf(*given, scope);
    if (!isNumber || !number) return;
    if (*number < argument.least) {
        warnings.push_back(
            Fault(*given, scope,
                  name + " must be at least " + NumberText(argument.least) + ", but is " + NumberText(*number)));
    } else if (*number > argument.greatest) {
        warnings.push_back(
            Fault(*given, scope,
                  name + " must be at most " + NumberText(argument.greatest) + ", but is " + NumberText(*number)));
    } else if (argument.kind == ArgumentKind::Count && *number != std::floor(*number)) {
        warnings.push_back(Fault(*given, scope, name + " must be a whole number, but is " + NumberText(*number)));
    }
}

// Connects each input of an operator to what feeds it. `operandOf` gives the operand of an argument, null for one that is
// missing, and `written` the text of the call for an operator whose formula says less.
template <class OperandOf, class Written>
Outcome<Operand> Binder::AddOperator(const OperatorClass& operatorClass, std::string key, OperatorText called,
                                     ComPtr<IZelmorOp> op, const Expression& part, const Scope& scope,
                                     OperandOf operandOf, Written written) {
    TextSlot text = nullptr;
    const auto taken = [&](HRESULT status) { return library.Take(SUCCEEDED(status) ? text : nullptr); };
    std::vector<Place> sources;
    Operand result;
    std::map<std::size_t, const Operand*> curves;
    const Operand* measure = nullptr;  // outputs in the units of the input are measured as this is
    bool isMeasuredByBar = false;
    ushort inputs = 0;
    op->GetInputCount(&inputs, nullptr);
    for (short input = 0; input < inputs; ++input) {
        ushort argument = 0;
        op->GetInputCurve(input, &argument, nullptr);
        constexpr std::string_view Prefix = "BAR_TYPE_";
        std::string field = taken(op->GetInputBarType(input, &text, nullptr));
        if (field.starts_with(Prefix)) field.erase(0, Prefix.size());
        const Outcome<const Operand*> found = operandOf(argument);
        if (!found) return found.Fault();
        const Operand* const operand = *found;
        if (!operand) {
            const bool isKnown = argument < operatorClass.arguments.size();
            const std::string name = isKnown ? "`" + operatorClass.arguments[argument].name + "`, " : "";
            return Fault(part, scope,
                         operatorClass.keyword + " needs " + name + "argument " + std::to_string(argument) +
                             (argument > 0 ? " (the " + operatorClass.arguments[0].name + " is 0)" : ""));
        }
        const auto price = PriceIndex(field);
        const Place source = price ? operand->prices[*price] : operand->value;
        if (source == NoPlace) {
            return Fault(part, scope,
                         operatorClass.keyword + " needs the column " + InQuotes(price ? Lower(field) : "close") +
                             ", which the data lacks");
        }
        sources.push_back(source);
        const bool isNamed = argument < operatorClass.arguments.size();
        called.inputs.push_back((isNamed ? operatorClass.arguments[argument].name : std::to_string(argument)) +
                                (price ? "." + Lower(field) : ""));
        TakeReach(result, *operand);
        curves[argument] = operand;
        if (!measure || (price && !isMeasuredByBar)) measure = operand;
        isMeasuredByBar |= price.has_value();
    }
    ushort outputs = 0;
    op->GetOutputCount(&outputs, nullptr);
    for (short output = 0; output < outputs; ++output) {
        ushort kind = 0, second = 0, third = 0;
        op->GetOutputUnits(output, &kind, &second, &third, nullptr);
        NamedOutput named;
        named.name = taken(op->GetOutputName(output, &text, nullptr));
        named.unitKind = kind;
        named.inPriceUnits = measure && measure->inPriceUnits && kind == UnitsOfInput;
        const auto index = static_cast<std::size_t>(output);
        if (index < operatorClass.outputs.size()) {
            named.meaning = operatorClass.outputs[index].meaning;
            named.drawing = operatorClass.outputs[index].drawing;
        }
        result.outputs.push_back(std::move(named));
    }
    if (result.outputs.empty()) return Fault(part, scope, operatorClass.keyword + " has no output");
    uint lookback = 0;
    op->GetLookback(&lookback, nullptr);
    const std::string formula = taken(op->GetFormula(&text, nullptr));
    std::optional<std::string> filled = FilledFormula(formula, curves);
    result.text = filled ? std::move(*filled) : written();
    result.depth += 1;
    result.lookback += lookback;

    const Place first = graph->AddNode(key, result.text, sources, outputs, [&](Place to) {
        graph->NoteSlots(operatorClass.keyword, operatorClass.keepsSnapshots, operatorClass.dropsHigherSlots);
        return std::make_unique<OperatorNode>(std::move(op), operatorClass.keepsSnapshots, sources, outputs, to);
    });
    for (const NamedOutput& output : result.outputs) called.outputs.push_back(output.name);
    graph->Note(first, std::move(called));
    for (std::size_t i = 0; i < result.outputs.size(); ++i) result.outputs[i].place = first + i;
    // An operator with all four prices among its outputs gives a bar. A plain value stands for all prices.
    result.isBar = std::ranges::all_of(PriceNames, [&](std::string_view name) { return result.FindOutput(name); });
    for (std::size_t price = 0; price < result.prices.size(); ++price) {
        const NamedOutput* const named = result.FindOutput(PriceNames[price]);
        result.prices[price] = named ? named->place : first;
    }
    result.value = result.isBar ? result.prices[Close] : first;
    result.isLabel = !result.isBar && IsLabelName(result.outputs.front().name);
    result.inPriceUnits = result.outputs.front().inPriceUnits;
    result.unitKind = result.outputs.front().unitKind;
    result.drawing = result.outputs.front().drawing;
    return result;
}

template <class Make>
Operand Binder::AddOwnNode(std::string key, std::string text, const std::vector<const Operand*>& sources, Make make) {
    std::vector<Place> places;
    for (const Operand* const source : sources) {
        places.push_back(source->value);
    }
    Operand result = Plain(graph->AddNode(key, text, places, 1, make), text);
    for (const Operand* const source : sources) TakeReach(result, *source);
    return result;
}

// ---- Constants

std::optional<double> Binder::ConstantOf(const Expression& part, const Scope& scope) {
    if (depth >= DeepestBinding || ++steps > MostSteps) return std::nullopt;
    ++depth;
    const auto result = [&]() -> std::optional<double> {
        if (part.kind == Kind::Number) return part.number;
        if (part.kind == Kind::Word && !part.isQuoted) {
            const std::string lower = Lower(part.name);
            if (const auto output = scope.outputs.find(lower); output != scope.outputs.end()) {
                return output->second.bound.begin()->second.constant;  // the same in each graph
            }
            if (const auto known = scope.parameters.find(lower); known != scope.parameters.end()) {
                const Scope::Argument& argument = known->second;
                return argument.expression ? ConstantOf(*argument.expression, *argument.scope) : std::nullopt;
            }
            const Definition* const definition = FindColumn(part.name) ? nullptr : definitions.Find(part.name);
            if (!definition || definition->statement.isFunction || !definition->statement.outputs.empty()) {
                return std::nullopt;
            }
            Scope inner;
            inner.source = definition->source.get();
            return ConstantOf(definition->statement.body, inner);
        }
        const bool isRule = part.kind == Kind::Unary || part.kind == Kind::Binary ||
                            (part.kind == Kind::Call && !library.Find(part.name) && FindLanguageFunction(part.name));
        if (!isRule || part.parts.empty() || part.parts.size() > 2) return std::nullopt;
        const auto a = ConstantOf(part.parts[0], scope);
        if (!a) return std::nullopt;
        double value = UndefinedValue;
        if (part.parts.size() == 1) {
            if (const UnaryFunction rule = FindUnary(part.name)) value = rule(*a);
        } else if (const auto b = ConstantOf(part.parts[1], scope)) {
            if (const BinaryFunction rule = FindBinary(part.name)) value = rule(*a, *b);
        }
        return IsUndefined(value) ? std::nullopt : std::optional(value);
    }();
    --depth;
    return result;
}

std::string Binder::ParameterText(const Expression& part, const Scope& scope) {
    if (part.kind == Kind::Word && part.isQuoted) return part.name;
    if (part.kind == Kind::Word) {
        const auto known = scope.parameters.find(Lower(part.name));
        if (known != scope.parameters.end() && known->second.expression) {
            return ParameterText(*known->second.expression, *known->second.scope);
        }
    }
    const std::string written = scope.source->text.substr(part.span.begin, part.span.end - part.span.begin);
    if (part.kind == Kind::Number) return written;
    if (const auto number = ConstantOf(part, scope)) return ArgumentNumber(*number);
    return part.kind == Kind::Word ? part.name : written;
}

Outcome<int> Binder::WholeNumber(const Expression& part, const Scope& scope, int least, std::string_view what) {
    constexpr int Most = 1 << 27;
    if (part.kind == Kind::Word && !part.isQuoted) {  // a parameter: what is wrong with it lies in the call
        const auto known = scope.parameters.find(Lower(part.name));
        if (known != scope.parameters.end() && known->second.expression) {
            return WholeNumber(*known->second.expression, *known->second.scope, least, what);
        }
    }
    const auto number = ConstantOf(part, scope);
    if (!number || *number != std::floor(*number) || *number < least || *number > Most) {
        return Fault(part, scope,
                     std::string(what) + " is a constant whole number of at least " + std::to_string(least));
    }
    return static_cast<int>(*number);
}

// ---- Problems

Problem Binder::Fault(const Expression& part, const Scope& scope, std::string message,
                      std::vector<std::string> nearest) const {
    Problem problem = ProblemAt(part.span, std::move(message), *scope.source);
    problem.nearest = std::move(nearest);
    return problem;
}

Problem Binder::Placed(const Problem& fault, const Expression& part, const Scope& scope) const {
    return fault.isOutOfMemory ? fault : Fault(part, scope, fault.message);
}

Problem Binder::UnknownName(const Expression& part, const Scope& scope, std::string_view what, bool isCall) const {
    std::vector<std::string> known;
    for (const auto& definition : definitions.All()) {
        known.push_back(definition->statement.name);
    }
    if (isCall) {
        for (const OperatorClass& operatorClass : library.Classes()) known.push_back(operatorClass.keyword);
        for (const LanguageFunction& function : Functions) known.emplace_back(function.name);
    } else {
        known.insert(known.begin(), columns.begin(), columns.end());
        known.emplace_back("Bar");
        for (const auto& [name, argument] : scope.parameters) known.push_back(name);
    }
    Problem problem = Fault(part, scope, std::string(what) + InQuotes(part.name), NearestWords(part.name, known));
    problem.length = part.nameSpan.end - part.nameSpan.begin;
    problem.offset = part.nameSpan.begin;
    return problem;
}

}  // namespace sarvane::study
