#pragma once

#include "frame/history_ring.h"
#include "frame/operator_contract.h"
#include "frame/state_store.h"

namespace sarvane {

// One bar of both curves. Without initialisers, so that a new ring leaves its cells untouched.
struct CorrelPair {
    double a;
    double b;
};

// Sums over the pairs of a window.
struct CorrelSums {
    double a = 0.0;
    double aa = 0.0;
    double b = 0.0;
    double bb = 0.0;
    double ab = 0.0;
};

struct CorrelState {
    CorrelPair previous = {UndefinedValue, UndefinedValue};  // last pair that was used
    CorrelSums sums;  // over `window`, kept up only while the period is a constant
    BasicHistoryRing<CorrelPair> window;
};

// Correl( a, b, period) is the correlation of two curves over the last `period` bars, from -100 to 100. A period that
// is no constant becomes a third input, read on every bar.
class CCorrelOp : public CDefZelmorOp {
public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula, FormatText("Correl( %%s, %%s, %d)", period));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, IsUnset(period) ? 3 : 2); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override { return Answer(argument, input); }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetOutputName(short, TextSlot* name, TextSlot*) override { return TextOut(name, u"curve1"); }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, !IsUnset(period)); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text, NthInt(parameter, {period}));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, ValueOr(period, depth)); }
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP SaveState(short slot) override { return states.Save(slot); }
    STDMETHODIMP RestoreState(short slot) override { return states.Restore(slot); }

private:
    double OfRunningSums(CorrelState& live, CorrelPair pair) const;
    double OfNewest(BasicHistoryRing<CorrelPair>& window, CorrelPair pair, int wanted) const;

    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    StateStore<CorrelState> states;
};

}  // namespace sarvane
