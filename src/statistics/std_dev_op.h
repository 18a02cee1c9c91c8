#pragma once

#include "frame/operator_contract.h"
#include "frame/state_store.h"
#include "frame/window_state.h"
#include "statistics/deviation_sample.h"

namespace sarvane {

// SDev (curve, period, divisor) is the standard deviation of the last `period` values around their own mean. A period
// that is no constant becomes a second input, read on every bar. The sum of squares is divided by the number of values
// (0, written "N") or by one less ("N-1").
class CStdDevOp : public CDefZelmorOp {
public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        const char* const divisor = DivisorText(useNMinus1);
        return TextOut(formula, IsUnset(period) ? FormatText("SDev (%%s, %s)", divisor)
                                                : FormatText("SDev (%%s, %d, %s)", period, divisor));
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
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override;
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, ValueOr(period, depth)); }
    STDMETHODIMP Reset(int count, const double* seed) override { return states.Live().Reset(count, seed); }
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP SaveState(short slot) override { return states.Save(slot); }
    STDMETHODIMP RestoreState(short slot) override { return states.Restore(slot); }

private:
    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    bool useNMinus1 = false;
    StateStore<WindowState> states;
};

}  // namespace sarvane
