#pragma once

#include "expansion/set_step_value.h"
#include "frame/history_ring.h"
#include "frame/inner_steps.h"
#include "frame/plain_ring.h"

namespace sarvane {

struct TDREIRecord {
    BarPrices previous = NoPrices;  // of the last bar that was used
    HistoryRing highs, lows, closes;
    PlainRing numerators;               // counted movement; the newest can be cancelled in place
    HistoryRing denominators;           // absolute movement of the same bars
    HistoryRing highValues, lowValues;  // of the two steps, what bars are compared with
};

// TDREI( bar, period, inclusive, periodWindow, highKind, highLag, lowKind, lowLag, mode) sums over the last `period`
// bars by how much high and low have moved since `highLag` and `lowLag` bars, and gives it in percent of the sum of the
// absolute movement. Only bars that overlap with the price of some bars before count in the first sum; `inclusive` says
// whether touching is overlapping, and `periodWindow` whether "some bars before" depends on the period. In mode 2 a
// bar that doesn't overlap also takes the bar before it out of the first sum.
class CTDREIOp : public CDefZelmorOp {
    auto Steps() { return std::tie(highStep, lowStep); }

public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula, FormatText("TDREI( %%s, %d, %d, %d, %d, %d, %d, %d, %d)", period, inclusive,
                                           periodWindow, highKind, highLag, lowKind, lowLag, mode));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, IsUnset(period) ? 5 : 4); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override {
        return Answer(argument, ArgumentBehindBar(input));
    }
    STDMETHODIMP GetInputBarType(short input, TextSlot* barType, TextSlot*) override {
        return TextOut(barType, OpenHighLowClose(input));
    }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetOutputName(short, TextSlot* name, TextSlot*) override { return TextOut(name, u"curve1"); }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, IsUnset(period) ? 7 : 8); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text,
                       NthInt(parameter, {period, inclusive, periodWindow, highKind, highLag, lowKind, lowLag, mode}));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP SaveState(short slot) override { return SaveAll(slot, states, Steps()); }
    STDMETHODIMP RestoreState(short slot) override { return RestoreAll(slot, states, Steps()); }

private:
    double TakeIn(TDREIRecord& live, const BarPrices& bar);
    double Index(TDREIRecord& live, const BarPrices& bar, int window) const;
    bool Overlaps(const TDREIRecord& live, const BarPrices& bar, int window) const;

    int depth = 0;
    int period = 8;
    int inclusive = 1;
    int periodWindow = 0;
    int highKind = HighValue;
    int highLag = 2;
    int lowKind = LowValue;
    int lowLag = 2;
    int mode = 1;
    CSetStepValue highStep, lowStep;
    StateStore<TDREIRecord> states;
};

}  // namespace sarvane
