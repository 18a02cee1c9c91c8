#pragma once

#include "frame/bar_inputs.h"
#include "frame/history_ring.h"
#include "frame/state_store.h"

namespace sarvane {

using OverLapBar = std::array<double, 3>;  // high, low and close, as they come in

struct OverLapState {
    OverLapBar previous = {UndefinedValue, UndefinedValue, UndefinedValue};  // last bar that was used
    BasicHistoryRing<OverLapBar> bars;
};

// OverlapCntOp( bar, trueRange, period [, mutual]) counts how many consecutive bars, going back from the newest and
// `period` at most, have a range that overlaps the newest one's. A period that is no constant becomes a fourth input,
// read on every bar. With `trueRange` a bar's range reaches to the close before it; with a `mutual` of 1 all bars that
// are counted must overlap each other.
class COverLapOp : public CDefZelmorOp {
public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula, IsUnset(period) || IsUnset(trueRange)
                                    ? FormatText("OverlapCntOp( %%s, %d, %d)", trueRange, mutual)
                                    : FormatText("OverlapCntOp( %%s, %d, %d %d)", trueRange, mutual, period));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, IsUnset(period) ? 4 : 3); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override {
        return Answer(argument, input < 3 ? 0 : 2);
    }
    STDMETHODIMP GetInputBarType(short input, TextSlot* barType, TextSlot*) override {
        return TextOut(barType, HighLowClose(input));
    }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetOutputName(short, TextSlot* name, TextSlot*) override { return TextOut(name, u"integer1"); }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, IsUnset(period) ? 2 : 3); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text, NthInt(parameter, {trueRange, period, mutual}));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, ValueOr(period, depth)); }
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP SaveState(short slot) override { return states.Save(slot); }
    STDMETHODIMP RestoreState(short slot) override { return states.Restore(slot); }

private:
    using Bars = BasicHistoryRing<OverLapBar>;
    struct Range {
        double low;
        double high;
    };

    static bool Overlap(const Range& a, const Range& b) { return !(a.low > b.high || b.low > a.high); }
    Range RangeOf(const Bars& bars, int back) const;
    int RunLength(const Bars& bars, int most) const;
    int MutualLength(const Bars& bars, int run) const;

    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    int trueRange = UndefinedParam;  // a flag: on unless it is 0
    int mutual = 0;
    StateStore<OverLapState> states;
};

}  // namespace sarvane
