#pragma once

#include "frame/operator_contract.h"
#include "frame/state_store.h"

#include <array>

namespace sarvane {

// The four prices of a bar and a value, in the order of the operator's arguments.
using BarInputs = std::array<double, 5>;

struct BarRecord {
    int lastBar = 0;  // index of the run's last bar; no step reads it
    BarInputs inputs = {UndefinedValue, UndefinedValue, UndefinedValue, UndefinedValue, UndefinedValue};  // used last
};

// Arithmetic between each price of a bar and a value; the result is a bar again. `Rule` holds all that sets one such
// operator apart: the order of its two arguments, its expression, its units and what it computes.
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
    STDMETHODIMP CalculateBar(int bar, int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP GetBarFlagA(uint* flag) override { return Answer(flag, 0); }
    STDMETHODIMP GetBarFlagB(uint* flag) override { return Answer(flag, 1); }

private:
    bool holdPrevious = false;  // a missing input repeats the one before; not part of a snapshot
    StateStore<BarRecord> states;
};

// The bar is the first argument of the expression.
struct BarFirst {
    enum Input : short { Open, High, Low, Close, Value };
    static constexpr bool Divides = false;  // by the value, which then must not be near zero

    static int ArgumentOf(short input) { return input < Value ? 0 : input - 3; }
    static std::u16string_view BarTypeOf(short input) {
        return NthText(input, {OpenField, HighField, LowField, CloseField});
    }
};

struct BarPlusValue : BarFirst {
    static constexpr std::u16string_view Formula = u"(%s+%s)";
    static constexpr UnitKind Units = UnitKind::Curve;
    static double Of(double price, double value) { return value + price; }
};

struct BarMinusValue : BarFirst {
    static constexpr std::u16string_view Formula = u"(%s-%s)";
    static constexpr UnitKind Units = UnitKind::Curve;
    static double Of(double price, double value) { return price - value; }
};

struct BarTimesValue : BarFirst {
    static constexpr std::u16string_view Formula = u"%s*%s";
    static constexpr UnitKind Units = UnitKind::Product;
    static double Of(double price, double value) { return value * price; }
};

struct BarByValue : BarFirst {
    static constexpr std::u16string_view Formula = u"(%s/%s)";
    static constexpr UnitKind Units = UnitKind::Quotient;
    static constexpr bool Divides = true;
    static double Of(double price, double value) { return price / value; }
};

using CBarAdd = CBarOp<BarPlusValue>;
using CBarSub = CBarOp<BarMinusValue>;
using CBarMul = CBarOp<BarTimesValue>;
using CBarDiv = CBarOp<BarByValue>;

}  // namespace sarvane
