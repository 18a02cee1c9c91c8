#pragma once

#include "frame/operator_contract.h"
#include "frame/state_store.h"

namespace sarvane {

struct KalmanState {
    double processNoise = 0.0;      // q, which every prediction adds to the variance
    double measurementNoise = 0.0;  // r
    double variance = 0.0;          // p, of `estimate`
    double estimate = 0.0;
    double lastInput = UndefinedValue;  // last input that was no gap; until there is one, the filter has no estimate
};

// KalmanFilter( curve, processNoise, measurementNoise, initialVariance) estimates the level behind a noisy curve and
// gives the variance of that estimate with it. A run keeps the parameters that stood at its start.
class CKalmanFilterOp : public CDefZelmorOp {
public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula,
                       FormatText("KalmanFilter( %%s, %f, %f, %f)", processNoise, measurementNoise, initialVariance));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 2); }
    STDMETHODIMP GetOutputName(short output, TextSlot* name, TextSlot*) override {
        return TextOut(name, NthText(output, {u"curve1"}, u"curve2"));
    }
    STDMETHODIMP GetOutputUnits(short, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, UnitKind::Curve);
    }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, 3); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text, NthDouble(parameter, {processNoise, measurementNoise, initialVariance}));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, depth); }
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) noexcept override;
    STDMETHODIMP SaveState(short slot) override { return states.Save(slot); }
    STDMETHODIMP RestoreState(short slot) override { return states.Restore(slot); }

private:
    int depth = DefaultHistoryDepth;
    double processNoise = 0.0;
    double measurementNoise = 0.0;
    double initialVariance = 0.0;
    StateStore<KalmanState> states;
};

}  // namespace sarvane
