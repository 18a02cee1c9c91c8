#pragma once

#include "frame/history_ring.h"
#include "frame/operator_contract.h"
#include "frame/state_store.h"
#include "statistics/deviation_sample.h"

namespace sarvane {

struct SqrtDevState {
    double previous = UndefinedValue;           // last value that was used
    double previousReference = UndefinedValue;  // last level of the reference curve
    HistoryRing window;
};

// SqrtDev( curve, reference, period, minBars, divisor) is the root of the mean squared distance from the last `period`
// values to the present level of a second curve. `minBars` lets the output start early, over the values so far. A
// period that is no constant becomes a third input, read on every bar. The sum of squares is divided by the number of
// values (0, written "N") or by one less ("N-1").
class CSqrtDevOp : public CDefZelmorOp {
public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        const char* const divisor = DivisorText(useNMinus1);
        return TextOut(formula, IsUnset(period) ? FormatText("SqrtDev( %%s, %s)", divisor)
                                                : FormatText("SqrtDev( %%s, %d, %d, %s)", period, minBars, divisor));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, IsUnset(period) ? 3 : 2); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override { return Answer(argument, input); }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetOutputName(short, TextSlot* name, TextSlot*) override { return TextOut(name, u"curve1"); }
    STDMETHODIMP GetOutputUnits(short, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, UnitKind::Curve);
    }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, IsUnset(period) ? 1 : 3); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override;
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, ValueOr(period, depth)); }
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP SaveState(short slot) override { return states.Save(slot); }
    STDMETHODIMP RestoreState(short slot) override { return states.Restore(slot); }

private:
    double Deviation(const SqrtDevState& live, const double* in) const;

    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    int minBars = UndefinedParam;  // set whenever `period` is
    bool useNMinus1 = false;
    StateStore<SqrtDevState> states;
};

}  // namespace sarvane
