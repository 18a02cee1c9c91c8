#pragma once

#include "frame/history_ring.h"
#include "frame/operator_contract.h"
#include "frame/state_store.h"

namespace sarvane {

struct AdapAvgState {
    double previous = UndefinedValue;  // last input that was used
    HistoryRing history;
    long long barCount = 0;  // bars since `Reset` less the outputs given; 64 bits, as bars without output are unlimited
    double average = UndefinedValue;
};

// AMA( curve, period, fastPeriod, slowPeriod) is an adaptive average. The straighter the curve has moved over the last
// `period` values, the nearer its smoothing comes to that of `fastPeriod`; going back and forth brings it down to that
// of `slowPeriod`. A parameter below 1 is read from a curve, and then all three are inputs. Outputs start after as many
// bars as the history is deep, which gives the average time to settle.
class CAdapAvgOp : public CDefZelmorOp {
public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot* error) override;
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, AllConstant() ? 1 : 4); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override { return Answer(argument, input); }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetOutputName(short, TextSlot* name, TextSlot*) override { return TextOut(name, u"curve1"); }
    STDMETHODIMP GetOutputUnits(short, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, UnitKind::Curve);
    }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, AllConstant() ? 3 : 0); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text, NthInt(parameter, {period, fastPeriod, slowPeriod}));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, depth); }
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP SaveState(short slot) override { return states.Save(slot); }
    STDMETHODIMP RestoreState(short slot) override { return states.Restore(slot); }

private:
    static bool IsConstant(int parameter) { return parameter >= 1; }
    bool AllConstant() const { return IsConstant(period) && IsConstant(fastPeriod) && IsConstant(slowPeriod); }

    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    int fastPeriod = UndefinedParam;
    int slowPeriod = UndefinedParam;
    StateStore<AdapAvgState> states;
};

}  // namespace sarvane
