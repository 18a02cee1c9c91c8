#pragma once

#include "frame/operator_contract.h"
#include "frame/state_store.h"

namespace sarvane {

struct MACDXState {
    double previous = UndefinedValue;  // last input that was used
    double fastAverage = UndefinedValue;
    double slowAverage = UndefinedValue;
    double signalLine = UndefinedValue;  // exponential average of fast less slow
};

// MACDX(curve,fast,slow,signal) is the price at which the difference of a fast and a slow exponential average would
// meet its signal line. The parameters are smoothing ratios; a number above 1.0 is a length in bars.
class CMACDXOp : public CDefZelmorOp {
public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula, FormatText("MACDX(%%s,%f,%f,%f)", fastRatio, slowRatio, signalRatio));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetOutputName(short, TextSlot* name, TextSlot*) override { return TextOut(name, u"curve1"); }
    STDMETHODIMP GetOutputUnits(short, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, UnitKind::Curve);
    }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, 3); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text, NthDouble(parameter, {fastRatio, slowRatio, signalRatio}));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, depth); }
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) noexcept override;
    STDMETHODIMP SaveState(short slot) override { return states.Save(slot); }
    STDMETHODIMP RestoreState(short slot) override { return states.Restore(slot); }

private:
    double CrossingPrice(MACDXState& live, double value) const;

    int depth = DefaultHistoryDepth;
    double fastRatio = 0.0;
    double slowRatio = 0.0;
    double signalRatio = 0.0;
    StateStore<MACDXState> states;
};

}  // namespace sarvane
