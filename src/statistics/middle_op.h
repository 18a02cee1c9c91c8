#pragma once

#include "frame/described.h"
#include "frame/ordered_window.h"
#include "frame/window_state.h"
#include "statistics/sorted_containers.h"

namespace sarvane {

struct MiddleState : WindowState {
    OrderedWindow::Version version = OrderedWindow::Unknown;  // of `window`
};

// Middle( curve, period [, rankFromTop]) is the median of the last `period` values, or with `rankFromTop` the value at
// that place, 1 being the highest. The first outputs are those of fewer than `period` values, from the first bar on. A
// period that is no constant becomes a second input, read on every bar. It then counts from the oldest value that is
// kept, not from the newest.
class CMiddleOp : public Described<CMiddleOp> {
    friend Described;
    static constexpr Description About = {
        .sentence = "median of the last `period` values, or the value at a place counted from the highest",
        .arguments = {Takes::Curve("curve", "whose values are put in order"),
                      Takes::Count("period", "values in the window").From(1).CanBeBound(),
                      Takes::Count("rankFromTop",
                                   "place of the value wanted, 1 for the highest; without it, the median")
                          .From(1)
                          .Optional()},
        .outputs = {{u"curve1", UnitKind::Curve, "the median, or the value at the place", DrawnAs::Line}},
    };
    FormattedText Formula() const { return FormatText("Middle( %%s, %d)", period); }
    int BoundInputs() const { return IsUnset(period); }
    FormattedText Parameter(short n) const { return Nth(n, period, rankFromTop); }
    int Lookback() const { return ValueOr(period, depth); }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) override;

private:
    double Step(MiddleState& live, double value, int wanted);
    double SelectFromBag(const HistoryRing& window, int count);

    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    int rankFromTop = UndefinedParam;
    StateStore<MiddleState> states;
    OrderedWindow order;                  // of the values that a place is taken from
    SortedBagAsVector<double> bag{1, 1};  // a member so that its memory is reused
};

}  // namespace sarvane
