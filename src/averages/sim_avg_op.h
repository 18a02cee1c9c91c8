#pragma once

#include "frame/described.h"
#include "frame/history_ring.h"

namespace sarvane {

struct SimAvgState {
    double previous = UndefinedValue;  // last input that was used
    double sum = 0.0;                  // of `history`, kept up only while the period is a constant
    HistoryRing history;
};

// Sim( curve, period [, minBars]) is the mean of the last `period` values. A period that is no constant becomes a
// second input, read on every bar. `minBars` lets the output start early, as the mean of the bars so far.
class CSimAvgOp : public Described<CSimAvgOp> {
    friend Described;
    static constexpr Description About = {
        .sentence = "mean of the last `period` values",
        .arguments = {Takes::Curve("curve", "what is averaged"),
                      Takes::Count("period", "values in the window").From(1).CanBeBound(),
                      Takes::Count("minBars", "values from which on there is an output; without it, `period`")
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
    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    int minBars = UndefinedParam;
    StateStore<SimAvgState> states;
};

}  // namespace sarvane
