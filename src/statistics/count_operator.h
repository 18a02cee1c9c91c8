#pragma once

#include "frame/operator_contract.h"
#include "frame/state_store.h"

#include <array>

namespace sarvane {

struct ConditionCount {
    double previous = UndefinedValue;  // condition of the last bar
    int bars = 0;                      // since the condition was last 0
    bool started = false;              // the condition has been 0
};

struct CountState {
    double previousHigh = UndefinedValue;
    double previousLow = UndefinedValue;
    std::array<ConditionCount, 2> conditions;
};

// Count( bar, labelAt, condition1, condition2) counts, for each condition, the bars since it was last 0, and labels the
// bars whose count is `labelAt`. High and low of the bar pass through, as the places where labels are drawn.
class CCountOperator : public CDefZelmorOp {
public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula, FormatText("Count(%%s, %d, %%s)", labelAt));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, 4); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override {
        return Answer(argument, input < 2 ? 0 : input);
    }
    STDMETHODIMP GetInputBarType(short input, TextSlot* barType, TextSlot*) override {
        return TextOut(barType, NthText(input, {HighField, LowField}));
    }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 4); }
    STDMETHODIMP GetOutputName(short output, TextSlot* name, TextSlot*) override {
        return TextOut(name, NthText(output, {u"high", u"low", u"label1"}, u"label2"));
    }
    STDMETHODIMP GetOutputUnits(short output, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, output < 2 ? UnitKind::Curve : UnitKind::Number);
    }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text, NthInt(parameter, {labelAt}));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, ValueOr(labelAt, depth)); }
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) noexcept override;
    STDMETHODIMP SaveState(short slot) override { return states.Save(slot); }
    STDMETHODIMP RestoreState(short slot) override { return states.Restore(slot); }

private:
    double LabelOf(ConditionCount& condition, int curve, double value) const;

    int depth = DefaultHistoryDepth;
    int labelAt = 0;  // 0 labels every bar, which only a new operator does; unset labels none
    StateStore<CountState> states;
};

}  // namespace sarvane
