#pragma once

#include "frame/described.h"
#include "frame/history_ring.h"

namespace sarvane {

struct AdapAvgState {
    double previous = UndefinedValue;  // last input that was used
    HistoryRing history;
    long long barCount = 0;  // bars since `Reset` minus outputs given; 64 bits, since bars without output never end
    double average = UndefinedValue;
};

// AMA( curve, period, fastPeriod, slowPeriod) is the adaptive moving average of Perry J. Kaufman ("Smarter Trading",
// 1995). Its smoothing factor depends on how straight the curve has moved over the last `period` values: a move in one
// direction is followed as fast as by an exponential average of `fastPeriod`, a move back and forth as slowly as by one
// of `slowPeriod`. If any parameter is below 1 or unset, all three are declared as inputs; those that are 1 or more
// keep their constant value all the same. There is no output before as many bars have come as the history is deep, so
// that the average has time to settle.
class CAdapAvgOp : public Described<CAdapAvgOp> {
    friend Described;
    static constexpr Description About = {
        .sentence = "average that follows a straight move quickly and one back and forth slowly",
        .arguments =
            {Takes::Curve("curve", "what is averaged"),
             Takes::Count("period", "values over which the straightness of the move is measured").From(1).CanBeBound(),
             Takes::Count("fastPeriod", "period of the exponential average that follows a straight move")
                 .From(1)
                 .CanBeBound(),
             Takes::Count("slowPeriod", "period of the exponential average for a move back and forth")
                 .From(1)
                 .CanBeBound()},
        .outputs = {{u"curve1", UnitKind::Curve, "the average", DrawnAs::Line}},
    };
    FormattedText Formula() const;
    int BoundInputs() const { return AllConstant() ? 0 : 3; }
    FormattedText Parameter(short n) const { return Nth(n, period, fastPeriod, slowPeriod); }
    int Lookback() const { return depth; }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) override;

private:
    static bool IsConstant(int parameter) { return parameter >= 1; }
    bool AllConstant() const { return IsConstant(period) && IsConstant(fastPeriod) && IsConstant(slowPeriod); }

    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    int fastPeriod = UndefinedParam;
    int slowPeriod = UndefinedParam;
    StateStore<AdapAvgState> states;
};

}  // namespace sarvane
