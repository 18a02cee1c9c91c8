#pragma once

#include "frame/bar_inputs.h"
#include "frame/state_store.h"

namespace sarvane {

// The four prices of a bar and a value, in the order of the operator's inputs.
using BarInputs = std::array<double, 5>;
inline constexpr BarInputs NoInputs = {UndefinedValue, UndefinedValue, UndefinedValue, UndefinedValue, UndefinedValue};

struct BarRecord {
    int lastBar = 0;              // index of the run's last bar; no step reads it
    BarInputs inputs = NoInputs;  // used last
};

// Arithmetic between each price of a bar and a value; the result is a bar again. `Rule` holds all that sets one such
// operator apart: the order of its inputs, its expression, its units and what it computes.
template <class Rule>
class CBarOp : public CDefZelmorOp2 {
public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override { return TextOut(formula, Rule::Formula); }
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, 5); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override {
        return Answer(argument, Rule::ArgumentOf(input));
    }
    STDMETHODIMP GetInputBarType(short input, TextSlot* barType, TextSlot*) override {
        return TextOut(barType, Rule::BarTypeOf(input));
    }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 4); }
    STDMETHODIMP GetOutputName(short output, TextSlot* name, TextSlot*) override {
        return TextOut(name, NthText(output, {u"open", u"high", u"low"}, u"close"));
    }
    STDMETHODIMP GetOutputUnits(short, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, Rule::Units);
    }
    STDMETHODIMP SaveState(short slot) override { return states.Save(slot); }
    STDMETHODIMP RestoreState(short slot) override { return states.Restore(slot); }
    STDMETHODIMP ResetBar(int mode, int lastBar, int count, const double* first) override;
    STDMETHODIMP CalculateBar(int bar, int inCount, const double* in, int outCount, double* out) noexcept override;
    STDMETHODIMP GetBarFlagA(uint* flag) override { return Answer(flag, 0); }
    STDMETHODIMP GetBarFlagB(uint* flag) override { return Answer(flag, 1); }

private:
    bool holdPrevious = false;  // a missing input repeats the one before; not part of a snapshot
    StateStore<BarRecord> states;
};

// The order of an operator's inputs.
struct BarFirst {
    static constexpr bool BarLeads = true;
    enum Input : short { Open, High, Low, Close, Value };

    static int ArgumentOf(short input) { return ArgumentBehindBar(input); }
    static std::u16string_view BarTypeOf(short input) { return OpenHighLowClose(input); }
};

struct ValueFirst {
    static constexpr bool BarLeads = false;
    enum Input : short { Value, Open, High, Low, Close };

    static int ArgumentOf(short input) { return input == Value ? 0 : 1; }
    static std::u16string_view BarTypeOf(short input) {
        return NthText(input, {u"", OpenField, HighField, LowField, CloseField});
    }
};

template <class Order>
struct Sum : Order {
    static constexpr std::u16string_view Formula = u"(%s+%s)";
    static constexpr UnitKind Units = UnitKind::Curve;
    static constexpr bool Divides = false;
    static double Of(double price, double value) { return value + price; }
};

template <class Order>
struct Difference : Order {
    static constexpr std::u16string_view Formula = u"(%s-%s)";
    static constexpr UnitKind Units = UnitKind::Curve;
    static constexpr bool Divides = false;
    static double Of(double price, double value) { return Order::BarLeads ? price - value : value - price; }
};

template <class Order>
struct Product : Order {
    static constexpr std::u16string_view Formula = Order::BarLeads ? u"%s*%s" : u"(%s*%s)";
    static constexpr UnitKind Units = UnitKind::Product;
    static constexpr bool Divides = false;
    static double Of(double price, double value) { return value * price; }
};

template <class Order>
struct Quotient : Order {
    static constexpr std::u16string_view Formula = u"(%s/%s)";
    static constexpr UnitKind Units = UnitKind::Quotient;
    static constexpr bool Divides = true;  // and leaves out what a divisor near zero would give
    static double Of(double price, double value) { return Order::BarLeads ? price / value : value / price; }
};

using CBarAdd = CBarOp<Sum<BarFirst>>;
using CBarSub = CBarOp<Difference<BarFirst>>;
using CBarMul = CBarOp<Product<BarFirst>>;
using CBarDiv = CBarOp<Quotient<BarFirst>>;
using CSBarAdd = CBarOp<Sum<ValueFirst>>;
using CSBarSub = CBarOp<Difference<ValueFirst>>;
using CSBarMul = CBarOp<Product<ValueFirst>>;
using CSBarDiv = CBarOp<Quotient<ValueFirst>>;

}  // namespace sarvane
