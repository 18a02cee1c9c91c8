#pragma once

#include "frame/described.h"
#include "frame/window_state.h"
#include "statistics/deviation_sample.h"

namespace sarvane {

// SDev (curve, period, useNMinus1) is the standard deviation of the last `period` values. A period that is no constant
// becomes a second input, read on every bar. The sum of squares is divided by the number of values, or with
// `useNMinus1` by one less.
class CStdDevOp : public Described<CStdDevOp> {
    friend Described;
    static constexpr Description About = {
        .sentence = "standard deviation of the last `period` values",
        .arguments = {Takes::Curve("curve", "whose values are measured"),
                      Takes::Count("period", "values in the window").From(1).CanBeBound(), NMinus1Switch},
        .outputs = {{u"curve1", UnitKind::Curve, "the deviation", DrawnAs::Line}},
    };
    FormattedText Formula() const {
        const char* const divisor = DivisorText(useNMinus1);
        return IsUnset(period) ? FormatText("SDev (%%s, %s)", divisor)
                               : FormatText("SDev (%%s, %d, %s)", period, divisor);
    }
    int BoundInputs() const { return IsUnset(period); }
    // While the period is read from a curve the list starts at the divisor.
    FormattedText Parameter(short n) const { return Nth(IsUnset(period) ? n + 1 : n, period, DivisorText(useNMinus1)); }
    int Lookback() const { return ValueOr(period, depth); }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override { return states.Live().Reset(count, seed); }
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) override;

private:
    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    bool useNMinus1 = false;
    StateStore<WindowState> states;
};

}  // namespace sarvane
