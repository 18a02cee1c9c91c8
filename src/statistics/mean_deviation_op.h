#pragma once

#include "frame/inner_steps.h"
#include "frame/operator_contract.h"
#include "frame/window_state.h"
#include "oscillators/set_step_ma.h"

namespace sarvane {

// MeanDev(curve,period) is the mean absolute distance from the last `period` values to their simple moving average. A
// period that is no constant becomes a second input, read on every bar; the distances are then taken from the mean of
// the values that it asks for.
class CMeanDeviationOp : public CDefZelmorOp {
    // Ahead of its callers, since its type is deduced.
    auto Steps() { return std::tie(meanStep); }

public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula, FormatText("MeanDev(%%s,%d)", period));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, IsUnset(period) ? 2 : 1); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override { return Answer(argument, input); }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetOutputName(short, TextSlot* name, TextSlot*) override { return TextOut(name, u"curve1"); }
    STDMETHODIMP GetOutputUnits(short, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, UnitKind::Deviation);
    }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, !IsUnset(period)); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text, NthInt(parameter, {period}));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, ValueOr(period, depth)); }
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP SaveState(short slot) override { return SaveAll(slot, states, Steps()); }
    STDMETHODIMP RestoreState(short slot) override { return RestoreAll(slot, states, Steps()); }

private:
    int depth = DefaultHistoryDepth;
    int period = 0;  // never met by a window: a new operator gives no result
    CSetStepMA meanStep;
    StateStore<WindowState> states;
};

}  // namespace sarvane
