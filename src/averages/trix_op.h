#pragma once

#include "frame/operator_contract.h"
#include "frame/state_store.h"

namespace sarvane {

struct TrixState {
    double previous = UndefinedValue;        // last input that was used
    double previousPeriod = UndefinedValue;  // last period that was read from its curve and used
    double ema1 = UndefinedValue;            // exponential average of the logarithm
    double ema2 = UndefinedValue;            // of `ema1`
    double ema3 = UndefinedValue;            // of `ema2`
    double lastEma3 = UndefinedValue;        // `ema3` of the step before
    // Both less the outputs given; 64 bits, as bars without output are unlimited.
    long long barCount = 0;    // bars since `Reset`
    long long validCount = 0;  // of these, the ones that had a value
};

// Trix( curve, period) is the change of a triple exponential average of the curve's logarithm, in millionths. A period
// below 1 is read from a curve. Outputs start after as many bars as the history is deep.
class CTrixOp : public CDefZelmorOp {
public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula, IsUnset(period) ? FormatText("Trix( %%s)") : FormatText("Trix( %%s, %d)", period));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, IsBound() ? 2 : 1); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override { return Answer(argument, input); }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetOutputName(short, TextSlot* name, TextSlot*) override { return TextOut(name, u"curve1"); }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, IsBound() ? 0 : 1); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text, NthInt(parameter, {period}));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, depth); }
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) noexcept override;
    STDMETHODIMP SaveState(short slot) override { return states.Save(slot); }
    STDMETHODIMP RestoreState(short slot) override { return states.Restore(slot); }

private:
    bool IsBound() const { return period < 1; }
    double PeriodInUse(const TrixState& live, const double* in) const;

    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    StateStore<TrixState> states;
};

}  // namespace sarvane
