#include "study.h"

#include "failure.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>

namespace sarvane::study {
namespace {

constexpr std::array<std::string_view, 4> PriceNames = {"open", "high", "low", "close"};
enum Price { Open, High, Low, Close };

std::optional<std::size_t> PriceIndex(std::string_view name) {
    const auto found =
        std::ranges::find_if(PriceNames, [&](std::string_view known) { return EqualIgnoringCase(known, name); });
    if (found == PriceNames.end()) return std::nullopt;
    return static_cast<std::size_t>(found - PriceNames.begin());
}

// Drives one operator.
class OperatorNode : public Node {
public:
    OperatorNode(ComPtr<IZelmorOp> created, std::string name, const Description& described,
                 std::vector<const double*> sources, const RunSettings& settings)
        : op(std::move(created)), keyword(std::move(name)), inputs(std::move(sources)), in(inputs.size()),
          out(described.outputs.size(), UndefinedValue), mode(settings.hold ? 1 : 0),
          keepsSnapshots(op->RestoreState(NeverSaved) != S_OK) {
        op->QueryInterface(IID_IZelmorOp2, barOp.Slot());
        if (barOp && settings.priceStep) {
            const double values[] = {*settings.priceStep, *settings.priceStep};
            barOp->SetPriceStep(2, values);
        }
    }

    const double* Output(std::size_t output) const { return &out[output]; }
    bool KeepsSnapshots() const { return keepsSnapshots; }

    void Reset(int lastBar) override {
        const std::vector<double> seed(in.size(), UndefinedValue);
        const int count = static_cast<int>(seed.size());
        barOp ? barOp->ResetBar(mode, lastBar, count, seed.data()) : op->Reset(count, seed.data());
    }

    void Step(int bar) override {
        std::ranges::transform(inputs, in.begin(), [](const double* source) { return *source; });
        const int inCount = static_cast<int>(in.size()), outCount = static_cast<int>(out.size());
        barOp ? barOp->CalculateBar(bar, inCount, in.data(), outCount, out.data())
              : op->Calculate(inCount, in.data(), outCount, out.data());
        steppedSinceSave = true;
    }

    void Save(short slot) override {
        if (Checked(op->SaveState(slot)) != S_OK) Fail("{} keeps no snapshot {}", keyword, slot);
        steppedSinceSave = false;
    }

    // An operator that only takes back what it took in last has nothing to take back if that was a missing value, which
    // it skipped, or if nothing came: it would take back the bar before.
    void Restore(short slot) override {
        if (!keepsSnapshots && (!steppedSinceSave || in.empty() || IsUndefined(in.front()))) return;
        if (Checked(op->RestoreState(slot)) != S_OK) Fail("{} has no snapshot {}", keyword, slot);
        steppedSinceSave = false;
    }

private:
    static constexpr short NeverSaved = 32767;

    ComPtr<IZelmorOp> op;
    ComPtr<IZelmorOp2> barOp;
    std::string keyword;
    std::vector<const double*> inputs;
    std::vector<double> in;
    std::vector<double> out;
    int mode;
    bool keepsSnapshots;  // else restoring succeeds on any slot, and takes back the last bar
    bool steppedSinceSave = false;
};

// Arithmetic and comparisons between two plain values. A side that is undefined makes the result undefined.
class PlainNode : public Node {
public:
    using Function = double (*)(double, double);

    PlainNode(Function combine, const double* a, const double* b) : function(combine), left(a), right(b) {}

    const double* Output() const { return &result; }
    void Reset(int) override {}
    void Save(short) override {}
    void Restore(short) override {}
    void Step(int) override {
        result = IsUndefined(*left) || IsUndefined(*right) ? UndefinedValue : function(*left, *right);
    }

private:
    Function function;
    const double* left;
    const double* right;
    double result = UndefinedValue;
};

struct Sign {
    std::string_view sign;
    PlainNode::Function plain;
    std::string_view barFirst;    // keyword of the operator between a bar and a value
    std::string_view valueFirst;  // and between a value and a bar
};

// A divisor near zero gives no value, as it does in the bar operators.
double Quotient(double a, double b) { return std::abs(b) < 1e-100 ? UndefinedValue : a / b; }

constexpr Sign Signs[] = {
    {"+", [](double a, double b) { return a + b; }, "BarAdd", "SBarAdd"},
    {"-", [](double a, double b) { return a - b; }, "BarSub", "SBarSub"},
    {"*", [](double a, double b) { return a * b; }, "BarMul", "SBarMul"},
    {"/", Quotient, "BarDiv", "SBarDiv"},
    {"<", [](double a, double b) { return a < b ? 1.0 : 0.0; }, "", ""},
    {"<=", [](double a, double b) { return a <= b ? 1.0 : 0.0; }, "", ""},
    {">", [](double a, double b) { return a > b ? 1.0 : 0.0; }, "", ""},
    {">=", [](double a, double b) { return a >= b ? 1.0 : 0.0; }, "", ""},
    {"=", [](double a, double b) { return a == b ? 1.0 : 0.0; }, "", ""},
    {"<>", [](double a, double b) { return a != b ? 1.0 : 0.0; }, "", ""},
};

bool IsLabelName(std::string_view output) { return EqualIgnoringCase(output.substr(0, 5), "label"); }

// A text of operators, with the texts of the curves that they read in the places for them. A formula that has a place
// for the first curve alone says less than what the user wrote, and gives none.
std::optional<std::string> FilledFormula(std::string_view formula,
                                         const std::map<std::size_t, const Operand*>& curves) {
    std::string filled;
    auto curve = curves.begin();
    for (std::size_t place; (place = formula.find("%s")) != std::string_view::npos; ++curve) {
        if (curve == curves.end()) return std::nullopt;
        filled += formula.substr(0, place);
        filled += curve->second->text;
        formula.remove_prefix(place + 2);
    }
    if (curve != curves.end()) return std::nullopt;
    return filled += formula;
}

// Sums and differences of prices are measured as prices are, and so are their multiples and fractions.
bool KeepsPriceUnits(std::string_view sign, const Expression& left, const Operand& a, const Expression& right,
                     const Operand& b) {
    if (sign == "+" || sign == "-") return a.inPriceUnits || b.inPriceUnits;
    if (a.inPriceUnits && right.kind == Expression::Kind::Number) return sign == "*" || sign == "/";
    return b.inPriceUnits && left.kind == Expression::Kind::Number && sign == "*";
}

Operand PlainOperand(const double* value) {
    Operand operand;
    operand.value = value;
    operand.prices.fill(value);
    return operand;
}

}  // namespace

const NamedOutput* Operand::Output(std::string_view name) const {
    const auto found =
        std::ranges::find_if(outputs, [&](const NamedOutput& output) { return EqualIgnoringCase(output.name, name); });
    return found == outputs.end() ? nullptr : &*found;
}

// Turns the parts of one expression into nodes and places.
class Binder {
public:
    Binder(Study& target, std::string_view expression) : study(target), text(expression) {}

    Operand Bind(const Expression& part) {
        switch (part.kind) {
        case Expression::Kind::Number: return BindNumber(part);
        case Expression::Kind::Word: return BindWord(part);
        case Expression::Kind::Call: return BindCall(part);
        case Expression::Kind::Binary: return BindBinary(part);
        case Expression::Kind::Output: return BindOutput(part);
        case Expression::Kind::Empty: break;
        }
        FailAt(text, part.begin, "expected a value");
    }

    // The place of a plain value.
    const double* Value(const Expression& part, const Operand& operand) {
        if (!operand.value) FailAt(text, part.begin, fmt::format("{} has no close", study.bars.Name()));
        return operand.value;
    }

private:
    Operand BindNumber(const Expression& number) {
        Operand operand = PlainOperand(&study.constants.emplace_back(number.number));
        operand.text = fmt::format("{}", number.number);
        return operand;
    }

    Operand BindWord(const Expression& word) {
        if (EqualIgnoringCase(word.name, "Bar")) return BindBar();
        const auto column = study.bars.FindColumn(word.name);
        if (!column) FailAt(text, word.begin, fmt::format("{} has no column {}", study.bars.Name(), Quoted(word.name)));
        Operand operand = PlainOperand(&study.row[*column]);
        operand.text = study.bars.Columns()[*column];
        operand.inPriceUnits = PriceIndex(operand.text).has_value();
        return operand;
    }

    // The file's own bar. Prices that the file lacks stay empty until something asks for them.
    Operand BindBar() {
        Operand bar;
        bar.text = "Bar";
        bar.inPriceUnits = true;
        bar.isBar = true;
        for (std::size_t price = 0; price < PriceNames.size(); ++price) {
            if (const auto column = study.bars.FindColumn(PriceNames[price])) bar.prices[price] = &study.row[*column];
        }
        for (std::size_t price = 0; price < PriceNames.size(); ++price) {
            if (bar.prices[price]) bar.outputs.push_back({std::string(PriceNames[price]), bar.prices[price], true});
        }
        bar.value = bar.prices[Close];
        return bar;
    }

    Operand BindOutput(const Expression& selection) {
        const Operand whole = Bind(selection.parts.front());
        if (const NamedOutput* const output = whole.Output(selection.name)) {
            Operand operand = PlainOperand(output->value);
            operand.text = fmt::format("{}.{}", whole.text, output->name);
            operand.inPriceUnits = output->inPriceUnits;
            operand.isLabel = IsLabelName(selection.name);
            TakeReach(operand, whole);
            return operand;
        }
        std::string known;
        for (const NamedOutput& output : whole.outputs) known += (known.empty() ? "; it has " : ", ") + output.name;
        FailAt(text, selection.end - selection.name.size(),
               fmt::format("no output {}{}", Quoted(selection.name), known));
    }

    Operand BindBinary(const Expression& binary) {
        const Sign& sign = *std::ranges::find(Signs, binary.name, &Sign::sign);
        const Expression& left = binary.parts[0];
        const Expression& right = binary.parts[1];
        const Operand a = Bind(left);
        const Operand b = Bind(right);
        if (!sign.barFirst.empty() && (a.isBar || b.isBar)) {
            const OperatorClass& barOperator = study.library.FindOrFail(a.isBar ? sign.barFirst : sign.valueFirst);
            return AddOperator(binary, barOperator, Create(barOperator), [&](std::size_t argument) {
                return argument == 0 ? &a : argument == 1 ? &b : nullptr;
            });
        }
        auto node = std::make_unique<PlainNode>(sign.plain, Value(left, a), Value(right, b));
        Operand result = PlainOperand(node->Output());
        result.text = fmt::format("({} {} {})", a.text, sign.sign, b.text);
        result.inPriceUnits = KeepsPriceUnits(sign.sign, left, a, right, b);
        study.nodes.push_back(std::move(node));
        TakeReach(result, a);
        TakeReach(result, b);
        return result;
    }

    // The farther one counts.
    static void TakeReach(Operand& operand, const Operand& source) {
        operand.depth = std::max(operand.depth, source.depth);
        operand.lookback = std::max(operand.lookback, source.lookback);
    }

    ComPtr<IZelmorOp> Create(const OperatorClass& operatorClass) const {
        return study.library.Create(operatorClass, study.settings.operators);
    }

    Operand BindCall(const Expression& call) {
        const OperatorClass& operatorClass = FindClass(call);
        ComPtr<IZelmorOp> op = Create(operatorClass);
        std::vector<std::string> given;
        for (std::size_t i = 1; i < call.parts.size(); ++i) {
            const Expression& argument = call.parts[i];
            given.emplace_back(ArgumentText(argument));
            if (argument.kind == Expression::Kind::Empty) continue;
            const std::string error = study.library.SetArgument(*op.Get(), static_cast<int>(i), given.back());
            if (!error.empty()) FailAt(text, argument.begin, fmt::format("{}: {}", operatorClass.keyword, error));
        }
        if (!given.empty() && !TakesLast(study.library, operatorClass, given, study.settings.operators)) {
            FailAt(text, call.parts.back().begin,
                   fmt::format("{} takes no argument {}, counted from 0", operatorClass.keyword, given.size()));
        }
        std::map<std::size_t, Operand> bound;
        return AddOperator(call, operatorClass, std::move(op), [&](std::size_t argument) -> const Operand* {
            if (argument >= call.parts.size() || call.parts[argument].kind == Expression::Kind::Empty) return nullptr;
            const auto known = bound.find(argument);
            if (known != bound.end()) return &known->second;
            return &bound.emplace(argument, Bind(call.parts[argument])).first->second;
        });
    }

    const OperatorClass& FindClass(const Expression& call) {
        try {
            return study.library.FindOrFail(call.name);
        } catch (const Failure& failure) {
            FailAt(text, call.begin, failure.what());
        }
    }

    std::string_view ArgumentText(const Expression& argument) const {
        return argument.kind == Expression::Kind::Word ? std::string_view(argument.name)
                                                       : text.substr(argument.begin, argument.end - argument.begin);
    }

    // Connects each input of an operator to what feeds it. `operandOf` gives an argument, or null for a missing one.
    template <class OperandOf>
    Operand AddOperator(const Expression& part, const OperatorClass& operatorClass, ComPtr<IZelmorOp> op,
                        OperandOf operandOf) {
        const Description described = Describe(study.library, *op.Get());
        std::vector<const double*> sources;
        Operand reach;
        std::map<std::size_t, const Operand*> curves;
        for (const auto& [argument, field] : described.inputs) {
            const auto index = static_cast<std::size_t>(argument);
            const Operand* const operand = operandOf(index);
            if (!operand)
                FailAt(text, part.begin,
                       fmt::format("{} lacks argument {}, counted from 0", operatorClass.keyword, index));
            const auto price = PriceIndex(field);
            const double* const source = price ? operand->prices[*price] : operand->value;
            if (!source) {
                FailAt(text, part.begin,
                       fmt::format("{} needs the column {}, which {} lacks", operatorClass.keyword,
                                   price ? field : "close", study.bars.Name()));
            }
            sources.push_back(source);
            TakeReach(reach, *operand);
            curves[index] = operand;
        }
        // Outputs in the units of the input are measured as the operator's bar is, or else its first curve.
        auto measure = std::ranges::find_if(described.inputs, [](const auto& input) { return !input.field.empty(); });
        if (measure == described.inputs.end()) measure = described.inputs.begin();
        const bool readsPrices =
            measure != described.inputs.end() && curves.at(static_cast<std::size_t>(measure->argument))->inPriceUnits;
        auto node = std::make_unique<OperatorNode>(std::move(op), operatorClass.keyword, described, std::move(sources),
                                                   study.settings);
        if (!node->KeepsSnapshots()) study.withoutSnapshots.push_back(operatorClass.keyword);
        Operand result = Outputs(*node, described, readsPrices);
        result.text = FilledFormula(described.formula, curves)
                          .value_or(std::string(text.substr(part.begin, part.end - part.begin)));
        result.depth = reach.depth + 1;
        result.lookback = reach.lookback + described.lookback;
        study.nodes.push_back(std::move(node));
        return result;
    }

    // An operator with all four prices among its outputs gives a bar. A price that another one lacks is its output 0.
    static Operand Outputs(const OperatorNode& node, const Description& described, bool readsPrices) {
        constexpr int UnitsOfInput = 1;
        Operand operand;
        for (std::size_t i = 0; i < described.outputs.size(); ++i) {
            const auto& [name, kind] = described.outputs[i];
            operand.outputs.push_back({name, node.Output(i), readsPrices && kind == UnitsOfInput});
        }
        if (operand.outputs.empty()) return operand;
        operand.isBar = std::ranges::all_of(PriceNames, [&](std::string_view name) { return operand.Output(name); });
        for (std::size_t price = 0; price < PriceNames.size(); ++price) {
            const NamedOutput* const named = operand.Output(PriceNames[price]);
            operand.prices[price] = named ? named->value : node.Output(0);
        }
        operand.value = operand.isBar ? operand.prices[Close] : node.Output(0);
        operand.isLabel = !operand.isBar && IsLabelName(operand.outputs.front().name);
        operand.inPriceUnits = operand.outputs.front().inPriceUnits;
        return operand;
    }

    Study& study;
    std::string_view text;
};

Study::Study(const Library& operators, const BarFile& file, RunSettings how)
    : library(operators), bars(file), settings(how), row(file.Columns().size(), UndefinedValue) {}

void Study::Add(const std::string& expression, bool allOutputs) {
    const Expression parsed = ParseExpression(expression);
    Binder binder(*this, expression);
    const Operand bound = binder.Bind(parsed);
    depth = std::max(depth, bound.depth);
    lookback = std::max(lookback, bound.lookback);
    const std::size_t number = results.empty() ? 0 : results.back().expression + 1;
    if (allOutputs && bound.outputs.size() > 1) {
        for (const auto& [name, place, inPriceUnits] : bound.outputs)
            results.push_back({fmt::format("{}.{}", expression, name), place, IsLabelName(name), number, bound.text,
                               name, inPriceUnits});
    } else {
        results.push_back(
            {expression, binder.Value(parsed, bound), bound.isLabel, number, bound.text, "", bound.inPriceUnits});
    }
}

void Study::Reset() {
    const int lastBar = settings.live ? 0 : static_cast<int>(bars.BarCount()) - 1;
    for (const auto& node : nodes) node->Reset(lastBar);
}

void Study::Step(std::size_t bar) {
    for (std::size_t column = 0; column < row.size(); ++column) row[column] = bars.Value(column, bar);
    const int index = settings.live ? 0 : static_cast<int>(bar);
    for (const auto& node : nodes) node->Step(index);
}

void Study::Save(short slot) {
    for (const auto& node : nodes) node->Save(slot);
}

void Study::Restore(short slot) {
    for (const auto& node : nodes) node->Restore(slot);
}

}  // namespace sarvane::study
