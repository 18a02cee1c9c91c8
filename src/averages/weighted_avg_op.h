#pragma once

#include "frame/described.h"
#include "frame/window_state.h"

namespace sarvane {

// Wei( curve, period) is the linearly weighted mean of the last `period` values: the newest has the weight `period`,
// the one before it `period` - 1, and the oldest 1. A period that is not constant is a second input, read on every bar.
class CWeightedAvgOp : public Described<CWeightedAvgOp> {
    friend Described;
    static constexpr Description About = {
        .sentence = "mean of the last `period` values in which newer values weigh more",
        .arguments =
            {Takes::Curve("curve", "what is averaged"),
             Takes::Count("period", "values in the window, and the weight of the newest one").From(1).CanBeBound()},
        .outputs = {{u"curve1", UnitKind::Curve, "the weighted mean", DrawnAs::Line}},
    };
    FormattedText Formula() const { return FormatText("Wei( %%s, %d)", period); }
    int BoundInputs() const { return IsUnset(period); }
    FormattedText Parameter(short n) const { return Nth(n, period); }
    int Lookback() const { return ValueOr(period, depth); }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override { return states.Live().Reset(count, seed); }
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) override;

private:
    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    StateStore<WindowState> states;
};

}  // namespace sarvane
