#pragma once

#include "frame/described.h"
#include "frame/window_state.h"
#include "steps/set_step_ma.h"

#include <tuple>

namespace sarvane {

// MeanDev(curve,period) is the mean absolute distance from the last `period` values to their mean. With a constant
// period that mean is a running simple average. A period that is no constant becomes a second input, read on every bar,
// and the mean of as many of the newest values is formed afresh.
class CMeanDeviationOp : public Described<CMeanDeviationOp> {
    friend Described;
    static constexpr Description About = {
        .sentence = "mean absolute distance from the last `period` values to their mean",
        .arguments = {Takes::Curve("curve", "whose values are measured"),
                      Takes::Count("period", "values in the window").From(1).CanBeBound()},
        .outputs = {{u"curve1", UnitKind::Deviation, "the mean distance", DrawnAs::Line}},
    };
    FormattedText Formula() const { return FormatText("MeanDev(%%s,%d)", period); }
    int BoundInputs() const { return IsUnset(period); }
    FormattedText Parameter(short n) const { return Nth(n, period); }
    int Lookback() const { return ValueOr(period, depth); }
    auto Steps() { return std::tie(meanStep); }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) override;

private:
    int depth = DefaultHistoryDepth;
    int period = 0;       // no window has this length: a new operator gives no output before its period is set
    CSetStepMA meanStep;  // the mean for a constant period
    StateStore<WindowState> states;
};

}  // namespace sarvane
