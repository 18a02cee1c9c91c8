#pragma once

#include "frame/history_ring.h"
#include "frame/operator_contract.h"
#include "frame/state_store.h"

namespace sarvane {

struct SmoAvgState {
    double previous = UndefinedValue;  // last input that was used
    double average = UndefinedValue;
    double sum = 0.0;     // of the inputs that make up the starting mean
    long long count = 0;  // inputs in `sum`; it grows on if a constant period shrinks below it before the start
    HistoryRing history;  // inputs until the average starts, kept only while the period is no constant
};

// Smo( curve, period) starts as the mean of `period` values, and then moves 1 / `period` of the way to each new one. A
// period that is no constant becomes a second input, read on every bar. Only with a constant period the output is
// rounded to significant digits.
class CSmoAvgOp : public CDefZelmorOp {
public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula, FormatText("Smo( %%s, %d)", period));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, IsUnset(period) ? 2 : 1); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override { return Answer(argument, input); }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetOutputName(short, TextSlot* name, TextSlot*) override { return TextOut(name, u"curve1"); }
    STDMETHODIMP GetOutputUnits(short, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, UnitKind::Curve);
    }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, !IsUnset(period)); }
    STDMETHODIMP GetParameterText(short, TextSlot* text, TextSlot*) override {
        return TextOut(text, FormatText("%d", period));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP SaveState(short slot) override { return states.Save(slot); }
    STDMETHODIMP RestoreState(short slot) override { return states.Restore(slot); }

private:
    double StepByConstant(SmoAvgState& live, double value) const;
    double StepByCurve(SmoAvgState& live, double value, int wanted) const;

    int digits = 6;  // significant ones of a rounded output
    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    StateStore<SmoAvgState> states;
};

}  // namespace sarvane
