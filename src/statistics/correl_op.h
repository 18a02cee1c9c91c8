#pragma once

#include "frame/described.h"
#include "frame/history_ring.h"

namespace sarvane {

// One bar of both curves. It has no initialisers, so that making a ring doesn't write to all of its cells.
struct CorrelPair {
    double a;
    double b;
};

// Sums over one curve of a window.
struct SeriesSums {
    double values = 0.0;
    double squares = 0.0;

    void Add(double value) {
        values += value;
        squares += value * value;
    }
    void Subtract(double value) {
        values -= value;
        squares -= value * value;
    }
};

// Sums over both curves of a window.
struct CorrelSums {
    SeriesSums a;
    SeriesSums b;
    double products = 0.0;  // of a and b on the same bar

    void Add(CorrelPair pair) {
        a.Add(pair.a);
        b.Add(pair.b);
        products += pair.a * pair.b;
    }
    void Subtract(CorrelPair pair) {
        a.Subtract(pair.a);
        b.Subtract(pair.b);
        products -= pair.a * pair.b;
    }
};

struct CorrelState {
    CorrelPair previous = {UndefinedValue, UndefinedValue};  // last pair that was used
    CorrelSums sums;                                         // over `window`; used only with a constant period
    BasicHistoryRing<CorrelPair> window;
};

// Correl( a, b, period) is the correlation of two curves over the last `period` bars in percent, from -100 to 100: the
// coefficient of Karl Pearson (1896). A period that is no constant becomes a third input, read on every bar.
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
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) override;

private:
    double FromRunningSums(CorrelState& live, CorrelPair pair) const;
    double FromNewestPairs(BasicHistoryRing<CorrelPair>& window, CorrelPair pair, int wanted) const;

    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    StateStore<CorrelState> states;
};

}  // namespace sarvane
