#pragma once

#include "frame/operator_contract.h"
#include "frame/state_store.h"
#include "frame/window_state.h"

namespace sarvane {

// Rank( curve, unread, period, direction, tieWeight, spare) is where the newest value stands among the last `period`:
// 1, and 1 more for every value that beats it. Higher values do if `direction` is above 0, else lower ones; an equal
// one adds `tieWeight`. Unless all four parameters are constants, each of the first three is read on every bar.
class CRankOp : public CDefZelmorOp {
public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula, FormatText("Rank( %%s, %d)", period));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, AreAllSet() ? 1 : 5); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override { return Answer(argument, input); }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetOutputName(short, TextSlot* name, TextSlot*) override { return TextOut(name, u"percent"); }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, AreAllSet() ? 4 : 0); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text, NthInt(parameter, {period, direction, tieWeight, spareParam}));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, ValueOr(period, depth)); }
    STDMETHODIMP Reset(int count, const double* seed) override { return states.Live().Reset(count, seed); }
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP SaveState(short slot) override { return states.Save(slot); }
    STDMETHODIMP RestoreState(short slot) override { return states.Restore(slot); }

private:
    bool AreAllSet() const {
        return !IsUnset(period) && !IsUnset(direction) && !IsUnset(tieWeight) && !IsUnset(spareParam);
    }
    double RankInWindow(const HistoryRing& window) const;

    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    int direction = UndefinedParam;
    int tieWeight = UndefinedParam;
    int spareParam = UndefinedParam;  // only has to be set
    StateStore<WindowState> states;
};

}  // namespace sarvane
