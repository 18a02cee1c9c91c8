#pragma once

#include "frame/described.h"
#include "frame/window_state.h"

namespace sarvane {

struct SimAvgState {
    double previous = UndefinedValue;  // last input that was used
    double sum = 0.0;                  // of `history`; used only with a constant period
    HistoryRing history;
};

// Sim( curve, period [, minBars]) is the mean of the last `period` values. A period that is not constant is a second
// input, read on every bar. With `minBars` the output starts after that many bars, as the mean of the values so far.
class CSimAvgOp : public Described<CSimAvgOp> {
    friend Described;
    static constexpr Description About = {
        .sentence = "mean of the last `period` values",
        .arguments = {Takes::Curve("curve", "what is averaged"),
                      Takes::Count("period", "values in the window").From(1).CanBeBound(),
                      Takes::Count("minBars",
                                   "values that the first output needs, up to `period`; as many as that if left out")
                          .From(1)
                          .Optional()},
        .outputs = {{u"curve1", UnitKind::Curve, "the mean", DrawnAs::Line}},
    };
    FormattedText Formula() const {
        return IsUnset(minBars) ? FormatText("Sim( %%s, %d)", period)
                                : FormatText("Sim( %%s, %d, %d)", period, minBars);
    }
    int BoundInputs() const { return IsUnset(period); }
    int ParameterCount() const { return !IsUnset(period) + !IsUnset(minBars); }
    FormattedText Parameter(short n) const { return Nth(n, period, minBars); }
    int Lookback() const { return ValueOr(period, depth); }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) override;

private:
    // One bar with a period from a curve, and with a constant one.
    HRESULT MeanOfNewest(SimAvgState& live, const double* in, double* out) const;
    HRESULT RunningMean(SimAvgState& live, double value, double* out) const;
    HRESULT AfterSummingAfresh(SimAvgState& live, double value, double* out) const;

    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    int minBars = UndefinedParam;
    int needed = UndefinedParam;  // values for an output with a constant period
    StateStore<SimAvgState> states;
};

}  // namespace sarvane
