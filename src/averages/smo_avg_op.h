#pragma once

#include "frame/described.h"
#include "frame/history_ring.h"

namespace sarvane {

struct SmoAvgState {
    double previous = UndefinedValue;  // last input that was used
    double average = UndefinedValue;
    double sum = 0.0;     // of the inputs that make up the starting mean
    long long count = 0;  // inputs in `sum`, while the period is constant; beyond the period if that was lowered
    HistoryRing history;  // inputs until the average starts; used only while the period comes from a curve
};

// Smo( curve, period) is the smoothed average of J. Welles Wilder ("New Concepts in Technical Trading Systems", 1978).
// It starts as the mean of the first `period` values; each further value moves it 1 / `period` of the way towards that
// value. A period that is not constant is a second input, read on every bar. The output is rounded to significant
// digits, but only with a constant period.
class CSmoAvgOp : public Described<CSmoAvgOp> {
    friend Described;
    static constexpr Description About = {
        .sentence = "smoothed average, which moves 1 / `period` of the way to each value",
        .arguments = {Takes::Curve("curve", "what is averaged"),
                      Takes::Count("period",
                                   "values in the starting mean; each later one moves the average 1 / `period`")
                          .From(1)
                          .CanBeBound()},
        .outputs = {{u"curve1", UnitKind::Curve, "the average; rounded if the period is constant", DrawnAs::Line}},
    };
    FormattedText Formula() const { return FormatText("Smo( %%s, %d)", period); }
    int BoundInputs() const { return IsUnset(period); }
    FormattedText Parameter(short) const { return ParameterText(period); }
    int Lookback() const;

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) override;

private:
    HRESULT StepByConstant(SmoAvgState& live, double value, double* out) const;
    HRESULT BarByCurve(SmoAvgState& live, const double* in, double* out) const;
    double StepByCurve(SmoAvgState& live, double value, int wanted) const;

    int digits = 6;  // significant digits of a rounded output
    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    StateStore<SmoAvgState> states;
};

}  // namespace sarvane
