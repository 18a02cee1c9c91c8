#pragma once

#include "frame/operator_contract.h"
#include "statistics/percentile_processor.h"

#include <deque>

namespace sarvane {

// Median( curve, windowSize, percent1, percent2, percent3, interpolate [, curve2]) gives up to three percentiles of the
// last values, at first the median alone. A second curve feeds the same window, behind the first on each bar.
class CMedianOp : public CDefZelmorOp, private PercentileProcessor {
public:
    static constexpr bool HasSnapshotZero = true;

    CMedianOp();
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula, FormatText("Median( %%s, %d, %f, %f, %f, %d)", Window(), GetPercentile(0),
                                           GetPercentile(1), GetPercentile(2), GetInterpolate()));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, inputCount); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override {
        return Answer(argument, input == 0 ? 0 : 6);
    }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 3); }
    STDMETHODIMP GetOutputName(short output, TextSlot* name, TextSlot*) override {
        if (output < 0 || output > 2) return E_INVALIDARG;
        return TextOut(name, NthText(output, {u"curve1", u"curve2", u"curve3"}));
    }
    STDMETHODIMP GetOutputUnits(short, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, UnitKind::Curve);
    }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, 5); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override;
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, GetWindowSize()); }
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP SaveState(short slot) override;
    STDMETHODIMP RestoreState(short slot) override;
    virtual ~CMedianOp() = default;  // the last entry of the method table

private:
    int Window() const { return static_cast<int>(GetWindowSize()); }

    int inputCount = 1;
    // Slot n is element n: unlike elsewhere none is the live state, and a save drops the slots above it.
    std::deque<PercentileSnapshot> snapshots;
};

}  // namespace sarvane
