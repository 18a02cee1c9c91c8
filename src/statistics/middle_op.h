#pragma once

#include "frame/operator_contract.h"
#include "frame/state_store.h"
#include "frame/window_state.h"
#include "statistics/sorted_containers.h"

namespace sarvane {

// Middle( curve, period [, rankFromTop]) is the median of the last `period` values, or the value at a place counted
// from the highest, which is 1. It starts on the first bar, with what the window holds. A period that is no constant
// becomes a second input, read on every bar; the oldest `period` values of the history are taken then.
class CMiddleOp : public CDefZelmorOp {
public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula, FormatText("Middle( %%s, %d)", period));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, IsUnset(period) ? 2 : 1); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override { return Answer(argument, input); }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetOutputName(short, TextSlot* name, TextSlot*) override { return TextOut(name, u"curve1"); }
    STDMETHODIMP GetOutputUnits(short, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, UnitKind::Curve);
    }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, IsUnset(period) ? 1 : 2); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text, NthInt(parameter, {period, rankFromTop}));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, ValueOr(period, depth)); }
    STDMETHODIMP Reset(int count, const double* seed) override { return states.Live().Reset(count, seed); }
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP SaveState(short slot) override { return states.Save(slot); }
    STDMETHODIMP RestoreState(short slot) override { return states.Restore(slot); }

private:
    double Select(const HistoryRing& window, int wanted);

    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    int rankFromTop = UndefinedParam;
    StateStore<WindowState> states;
    SortedBagAsVector<double> bag{1, 1};  // filled afresh on every bar; only its room stays
};

}  // namespace sarvane
