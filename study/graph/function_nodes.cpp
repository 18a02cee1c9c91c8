#include "graph/function_nodes.h"

#include "frame/logarithm.h"
#include "language/parser.h"

#include <algorithm>
#include <cmath>

namespace sarvane::study {
namespace {

// A divisor near zero gives no value, as it does in bar arithmetic.
double Quotient(double a, double b) { return std::abs(b) < 1e-100 ? UndefinedValue : a / b; }

// With a NaN on either side the result is a NaN.
double Least(double a, double b) { return a < b || a != a ? a : b; }
double Greatest(double a, double b) { return a > b || a != a ? a : b; }

// Halves away from zero, at so many digits behind the decimal point.
double RoundedTo(double value, double digits) {
    if (!(digits >= -300.0 && digits <= 300.0)) return UndefinedValue;
    double scale = 1.0;
    for (int i = 0; i < std::abs(static_cast<int>(digits)); ++i) scale *= 10.0;
    const double rounded = digits < 0.0 ? std::round(value / scale) * scale : std::round(value * scale) / scale;
    return std::isfinite(rounded) ? rounded : value;
}

constexpr double AsNumber(bool holds) { return holds ? 1.0 : 0.0; }

template <class Function>
struct Rule {
    std::string_view name;
    Function function;
};

constexpr Rule<UnaryFunction> UnaryRules[] = {
    {"-", [](double x) { return 0.0 - x; }},
    {"not", [](double x) { return AsNumber(x == 0.0); }},
    {"abs", [](double x) { return std::abs(x); }},
    {"sqrt", [](double x) { return x < 0.0 ? UndefinedValue : std::sqrt(x); }},
    {"log", [](double x) { return x <= 0.0 ? UndefinedValue : Logarithm(x); }},
    {"round", [](double x) { return std::round(x); }},
    {"floor", [](double x) { return std::floor(x); }},
};

constexpr Rule<BinaryFunction> BinaryRules[] = {
    {"+", [](double a, double b) { return a + b; }},
    {"-", [](double a, double b) { return a - b; }},
    {"*", [](double a, double b) { return a * b; }},
    {"/", Quotient},
    {"<", [](double a, double b) { return AsNumber(a < b); }},
    {"<=", [](double a, double b) { return AsNumber(a <= b); }},
    {">", [](double a, double b) { return AsNumber(a > b); }},
    {">=", [](double a, double b) { return AsNumber(a >= b); }},
    {"=", [](double a, double b) { return AsNumber(a == b); }},
    {"==", [](double a, double b) { return AsNumber(a == b); }},
    {"<>", [](double a, double b) { return AsNumber(a != b); }},
    {"!=", [](double a, double b) { return AsNumber(a != b); }},
    {"and", [](double a, double b) { return AsNumber(a != 0.0 && b != 0.0); }},
    {"or", [](double a, double b) { return AsNumber(a != 0.0 || b != 0.0); }},
    {"min", Least},
    {"max", Greatest},
    {"round", RoundedTo},
};

template <class Rules>
auto Find(const Rules& rules, std::string_view name) {
    const auto found =
        std::ranges::find_if(rules, [&](const auto& rule) { return EqualIgnoringCase(rule.name, name); });
    return found == std::end(rules) ? nullptr : found->function;
}

}  // namespace

UnaryFunction FindUnary(std::string_view name) { return Find(UnaryRules, name); }
BinaryFunction FindBinary(std::string_view name) { return Find(BinaryRules, name); }

HRESULT CrossNode::Step(double* values, int) {
    const double a = values[left], b = values[right];
    values[output] = UndefinedValue;
    if (IsUndefined(a) || IsUndefined(b)) return S_OK;
    LastPair& last = states.Live();
    if (!IsUndefined(last.a)) values[output] = AsNumber(a > b && last.a <= last.b);
    last = {a, b};
    return S_OK;
}

DelayNode::DelayNode(int count, Place from, Place to) : bars(count), input(from), output(to) {}

HRESULT DelayNode::Step(double* values, int) {
    HistoryRing& window = states.Live().values;
    window.Push(values[input]);
    const bool isFull = window.Size() > bars;
    values[output] = isFull ? window[0] : UndefinedValue;
    if (isFull) window.PopFront();
    return S_OK;
}

SumNode::SumNode(int values, Place from, Place to) : count(values), input(from), output(to) {}

HRESULT SumNode::Step(double* values, int) {
    HistoryRing& window = states.Live().values;
    const double value = values[input];
    values[output] = UndefinedValue;
    if (IsUndefined(value)) return S_OK;
    if (window.Size() == count) window.PopFront();
    window.Push(value);
    if (window.Size() < count) return S_OK;
    double sum = 0.0;
    for (int i = 0; i < count; ++i) sum += window[i];
    values[output] = sum;
    return S_OK;
}

}  // namespace sarvane::study
