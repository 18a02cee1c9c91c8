#pragma once

#include "frame/history_ring.h"
#include "frame/operator_contract.h"
#include "frame/state_store.h"

namespace sarvane {

struct SimAvgState {
    double previous = UndefinedValue;  // last input that was used
    double sum = 0.0;                  // of `history`, kept up only while the period is a constant
    HistoryRing history;
};

// Sim( curve, period [, minBars]) is the mean of the last `period` values. A period that is no constant becomes a
// second input, read on every bar. `minBars` lets the output start early, as the mean of the bars so far.
class CSimAvgOp : public CDefZelmorOp {
public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula, IsUnset(minBars) ? FormatText("Sim( %%s, %d)", period)
                                                 : FormatText("Sim( %%s, %d, %d)", period, minBars));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, IsUnset(period) ? 2 : 1); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override { return Answer(argument, input); }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetOutputName(short, TextSlot* name, TextSlot*) override { return TextOut(name, u"curve1"); }
    STDMETHODIMP GetOutputUnits(short, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, UnitKind::Curve);
    }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override {
        return Answer(count, !IsUnset(period) + !IsUnset(minBars));
    }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text, NthInt(parameter, {period, minBars}));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, ValueOr(period, depth)); }
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP SaveState(short slot) override { return states.Save(slot); }
    STDMETHODIMP RestoreState(short slot) override { return states.Restore(slot); }

private:
    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    int minBars = UndefinedParam;
    StateStore<SimAvgState> states;
};

}  // namespace sarvane
