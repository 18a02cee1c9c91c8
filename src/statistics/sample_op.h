#pragma once

#include "frame/operator_contract.h"
#include "frame/state_store.h"

namespace sarvane {

struct SampleState {
    double previousTrigger = UndefinedValue;  // of the last bar, missing or not
    double lastSample = UndefinedValue;
    double barsSinceTrigger = 0.0;
    bool sampling = false;
};

// Sample( curve, trigger, sampleBars, triggerMode, holdLast) passes the curve through on the bar on which the trigger
// fires and the next ones, `sampleBars` in all. In between it holds the last sample or gives nothing.
class CSampleOp : public CDefZelmorOp {
public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula, FormatText("Sample(%%s, %%s, %d, %d, %d)", sampleBars, triggerMode, holdLast));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, 2); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override { return Answer(argument, input); }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetOutputName(short, TextSlot* name, TextSlot*) override { return TextOut(name, u"curve1"); }
    STDMETHODIMP GetOutputUnits(short, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, UnitKind::Curve);
    }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, 3); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text, NthInt(parameter, {sampleBars, triggerMode, holdLast}));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, depth); }
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) noexcept override;
    STDMETHODIMP SaveState(short slot) override { return states.Save(slot); }
    STDMETHODIMP RestoreState(short slot) override { return states.Restore(slot); }

private:
    bool Fires(double trigger, double previous) const;
    double Sample(SampleState& live, double value, double trigger) const;

    int depth = DefaultHistoryDepth;
    int sampleBars = 1;
    int triggerMode = 0;  // 0: a trigger above 0 fires; 1: a rising one, from 0 up; others: none
    int holdLast = 1;     // a flag
    StateStore<SampleState> states;
};

}  // namespace sarvane
