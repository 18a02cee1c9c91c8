#pragma once

#include "frame/described.h"

namespace sarvane {

struct TrixState {
    double previous = UndefinedValue;        // last input that was used
    double previousPeriod = UndefinedValue;  // last period that was read from its curve and used
    double ema1 = UndefinedValue;            // exponential average of the logarithm
    double ema2 = UndefinedValue;            // of `ema1`
    double ema3 = UndefinedValue;            // of `ema2`
    double lastEma3 = UndefinedValue;        // `ema3` of the step before
    // Both less the outputs given; 64 bits, as bars without output are unlimited.
    long long barCount = 0;    // bars since `Reset`
    long long validCount = 0;  // of these, the ones that had a value
};

// Trix( curve, period) is the change from bar to bar of a triple exponential average of the curve's logarithm, times a
// million: the TRIX of Jack K. Hutson ("Good TRIX", Technical Analysis of Stocks & Commodities, 1983). A period that is
// below 1 or unset is read from a second input on every bar. There is no output before as many bars have come as the
// history is deep.
class CTrixOp : public Described<CTrixOp> {
    friend Described;
    static constexpr Description About = {
        .sentence = "rate of change of a triple exponential average of the logarithm",
        .arguments = {Takes::Curve("curve", "what is averaged"),
                      Takes::Count("period", "period of each of the three averages").From(1).CanBeBound()},
        .outputs = {{u"curve1", UnitKind::Number, "change since the bar before, in millionths", DrawnAs::Line}},
    };
    FormattedText Formula() const {
        return IsUnset(period) ? FormatText("Trix( %%s)") : FormatText("Trix( %%s, %d)", period);
    }
    int BoundInputs() const { return IsBound(); }
    FormattedText Parameter(short n) const { return Nth(n, period); }
    int Lookback() const { return depth; }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) noexcept override;

private:
    bool IsBound() const { return period < 1; }
    double PeriodInUse(const TrixState& live, const double* in) const;

    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    StateStore<TrixState> states;
};

}  // namespace sarvane
