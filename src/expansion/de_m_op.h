#pragma once

#include "expansion/set_step_value.h"
#include "frame/history_ring.h"
#include "frame/inner_steps.h"
#include "oscillators/set_step_ma.h"

namespace sarvane {

struct DeMRecord {
    BarPrices previous = NoPrices;  // of the last bar that was used
    HistoryRing closes;             // kept only for the comparison against closes
    HistoryRing highs;              // values of the high step, kept only for the plain comparison
    HistoryRing lows;               // of the low step
};

// DemOp( bar, highKind, highLag, lowKind, lowLag, smoothLength, mode) is the upward share, in percent, of the movement
// averaged over the last `smoothLength` bars. A bar moves up by what its high lies above the one `highLag` bars back,
// and down by what its low lies below the one `lowLag` bars back; the kinds choose the values that stand for both. In
// mode 2 both are compared with the closes that many bars back and with the bar's own close.
class CDeMOp : public CDefZelmorOp {
    auto Steps() { return std::tie(highStep, lowStep, upAverage, totalAverage); }

public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula, FormatText("DemOp( %%s, %d, %d, %d, %d, %d, %d)", highKind, highLag, lowKind, lowLag,
                                           smoothLength, mode));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override {
        return Answer(count, IsUnset(smoothLength) ? 5 : 4);
    }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override {
        return Answer(argument, ArgumentBehindBar(input));
    }
    STDMETHODIMP GetInputBarType(short input, TextSlot* barType, TextSlot*) override {
        return TextOut(barType, OpenHighLowClose(input));
    }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetOutputName(short, TextSlot* name, TextSlot*) override { return TextOut(name, u"percent"); }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override {
        return Answer(count, IsUnset(smoothLength) ? 5 : 6);
    }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text, NthInt(parameter, {highKind, highLag, lowKind, lowLag, smoothLength, mode}));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP SaveState(short slot) override { return SaveAll(slot, states, Steps()); }
    STDMETHODIMP RestoreState(short slot) override { return RestoreAll(slot, states, Steps()); }

private:
    struct Movement {
        double up = 0.0;
        double down = 0.0;
    };

    double UpShare(DeMRecord& live, const BarPrices& bar);
    Movement AgainstCloses(HistoryRing& closes, double high, double low, double close) const;
    Movement AgainstValues(HistoryRing& highs, HistoryRing& lows, double high, double low) const;

    int depth = DefaultHistoryDepth;
    int highKind = HighValue;
    int highLag = 1;
    int lowKind = LowValue;
    int lowLag = 1;
    int smoothLength = 4;
    int mode = 1;
    CSetStepValue highStep, lowStep;
    CSetStepMA upAverage, totalAverage;
    StateStore<DeMRecord> states;
};

}  // namespace sarvane
