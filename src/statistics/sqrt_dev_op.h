#pragma once

#include "frame/described.h"
#include "frame/history_ring.h"
#include "statistics/deviation_sample.h"

namespace sarvane {

struct SqrtDevState {
    double previous = UndefinedValue;           // last value that was used
    double previousReference = UndefinedValue;  // last value of the reference curve
    HistoryRing window;                         // values, oldest first
};

// SqrtDev( curve, reference, period, minBars, useNMinus1) is the root of the mean squared distance from the last
// `period` values to the present value of a second curve. The output starts once there are `minBars` values. A period
// that is no constant becomes a third input, read on every bar; `minBars` is not used then. The sum of squares is
// divided by the number of values, or with `useNMinus1` by one less.
class CSqrtDevOp : public Described<CSqrtDevOp> {
    friend Described;
    static constexpr Description About = {
        .sentence = "root of the mean squared distance from the last `period` values to a second curve's present value",
        .arguments = {Takes::Curve("curve", "whose values are measured"),
                      Takes::Curve("reference", "from where they are measured, such as an average of the curve"),
                      Takes::Count("period", "values in the window").From(1).CanBeBound(),
                      Takes::Count(
                          "minBars",
                          "values from which on there is an output, if the period is a constant; without it, `period`")
                          .From(1)
                          .Optional(),
                      NMinus1Switch},
        .outputs = {{u"curve1", UnitKind::Curve, "the deviation", DrawnAs::Line}},
    };
    FormattedText Formula() const {
        const char* const divisor = DivisorText(useNMinus1);
        return IsUnset(period) ? FormatText("SqrtDev( %%s, %s)", divisor)
                               : FormatText("SqrtDev( %%s, %d, %d, %s)", period, minBars, divisor);
    }
    int BoundInputs() const { return IsUnset(period); }
    int ParameterCount() const { return IsUnset(period) ? 1 : 3; }
    // While the period is read from a curve the list starts at the divisor.
    FormattedText Parameter(short n) const {
        return Nth(IsUnset(period) ? n + 2 : n, period, minBars, DivisorText(useNMinus1));
    }
    int Lookback() const { return ValueOr(period, depth); }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) override;

private:
    double Deviation(const SqrtDevState& live, const double* in) const;

    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    int minBars = UndefinedParam;  // never unset while `period` is set
    bool useNMinus1 = false;
    StateStore<SqrtDevState> states;
};

}  // namespace sarvane
