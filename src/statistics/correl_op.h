#pragma once

#include "frame/described.h"
#include "frame/history_ring.h"

namespace sarvane {

// One bar of both curves. Without initialisers, so that a new ring leaves its cells untouched.
struct CorrelPair {
    double a;
    double b;
};

// Sums over the pairs of a window.
struct CorrelSums {
    double a = 0.0;
    double aa = 0.0;
    double b = 0.0;
    double bb = 0.0;
    double ab = 0.0;
};

struct CorrelState {
    CorrelPair previous = {UndefinedValue, UndefinedValue};  // last pair that was used
    CorrelSums sums;  // over `window`, kept up only while the period is a constant
    BasicHistoryRing<CorrelPair> window;
};

// Correl( a, b, period) is the correlation of two curves over the last `period` bars, from -100 to 100. A period that
// is no constant becomes a third input, read on every bar.
class CCorrelOp : public Described<CCorrelOp> {
    friend Described;
    static constexpr Description About = {
        .sentence = "correlation of two curves over the last `period` bars, from -100 to 100",
        .arguments = {Takes::Curve("a", "one curve"), Takes::Curve("b", "the other curve"),
                      Takes::Count("period", "bars in the window; a single one gives no output").From(1).CanBeBound()},
        .outputs = {{u"curve1", UnitKind::Number, "100 if the curves move alike, -100 if they move against each other",
                     DrawnAs::Line}},
    };
    FormattedText Formula() const { return FormatText("Correl( %%s, %%s, %d)", period); }
    int BoundInputs() const { return IsUnset(period); }
    FormattedText Parameter(short n) const { return Nth(n, period); }
    int Lookback() const { return ValueOr(period, depth); }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;

private:
    double OfRunningSums(CorrelState& live, CorrelPair pair) const;
    double OfNewest(BasicHistoryRing<CorrelPair>& window, CorrelPair pair, int wanted) const;

    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    StateStore<CorrelState> states;
};

}  // namespace sarvane
