#pragma once

#include "frame/operator_contract.h"
#include "frame/state_store.h"
#include "frame/window_state.h"

namespace sarvane {

// CGOsc( curve, period) is the centre of gravity of the last `period` values: their mean position, weighted with the
// values and negated. The newest value stands at position 1. Without a period there is no output.
class CCGOscOp : public CDefZelmorOp {
public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula, FormatText("CGOsc( %%s, %d)", period));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override { return Answer(argument, input); }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetOutputName(short, TextSlot* name, TextSlot*) override { return TextOut(name, u"curve1"); }
    STDMETHODIMP GetOutputUnits(short, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, UnitKind::Curve);
    }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text, NthInt(parameter, {period}));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, ValueOr(period, depth)); }
    STDMETHODIMP Reset(int count, const double* seed) override { return states.Live().Reset(count, seed); }
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP SaveState(short slot) override { return states.Save(slot); }
    STDMETHODIMP RestoreState(short slot) override { return states.Restore(slot); }

private:
    double CentreOfGravity(HistoryRing& window, double value) const;

    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    StateStore<WindowState> states;
};

}  // namespace sarvane
