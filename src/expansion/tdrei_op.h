#pragma once

#include "frame/described.h"
#include "frame/history_ring.h"
#include "frame/row_windows.h"
#include "steps/set_step_values.h"
#include "steps/value_kinds.h"

namespace sarvane {

// What later bars look back to. `highValue` and `lowValue` are what their high and low are compared with.
struct TDREIBar {
    double high, low, close, highValue, lowValue;
};
// How far back there are prices, and values to compare with.
enum TDREIWindow : std::size_t { PriceWindow, HighValueWindow, LowValueWindow };

// Of one bar. The net movement becomes final one bar later, since mode 2 changes it.
struct TDREIMovement {
    double netBefore;  // net movement of the bar before if that counts, else 0.0
    double absolute;
};

struct TDREIRecord {
    BarPrices previous = NoPrices;  // of the last bar that was used
    RowWindows<TDREIBar, 3> bars;   // by TDREIWindow
    BasicHistoryRing<TDREIMovement> movements;
    double newestNet = 0.0;  // net movement of the newest bar
};

// TDREI( bar, period, inclusive, periodWindow, highKind, highLag, lowKind, lowLag, mode) is a range expansion index:
//
//     movement = (high - its value `highLag` bars back) + (low - its value `lowLag` bars back)
//     index = 100 * (sum of the movements that count) / (sum of the absolute movements)
//
// Both sums run over the last `period` bars. A bar counts if it, or the bar two back, overlaps with prices about 8 bars
// earlier, or about `period` bars (at least 4) with `periodWindow`. `inclusive` says whether equal prices overlap. In
// mode 2 a bar that doesn't count also takes the bar before it out of the first sum. Without a period an input is
// declared in its place, but never read.
//
// Source: T. R. DeMark, The New Science of Technical Analysis (1994).
class CTDREIOp : public Described<CTDREIOp> {
    friend Described;
    static constexpr WordDescription Modes[] = {
        {"1", "a bar that doesn't overlap counts for nothing itself"},
        {"2", "it also takes the bar before it out of the count"},
    };
    static constexpr Description About = {
        .sentence = "net movement of high and low on bars that overlap with earlier prices, in percent of all movement",
        .arguments =
            {Takes::Bar("bar", "prices", OhlcFields),
             Takes::Count("period", "bars that are summed").From(1).Default("8"),
             Takes::Switch("inclusive", "equal prices overlap").Default("1"),
             Takes::Switch("periodWindow", "overlaps are looked for `period` bars back, at least 4, instead of 8")
                 .Default("0"),
             Takes::Word("highKind", "value that the high is compared with", ValueKindWords).Default("1"),
             Takes::Count("highLag", "bars back to the value that the high is compared with").From(0).Default("2"),
             Takes::Word("lowKind", "value that the low is compared with", ValueKindWords).Default("3"),
             Takes::Count("lowLag", "bars back to the value that the low is compared with").From(0).Default("2"),
             Takes::Word("mode", "what a bar without overlap does", Modes).Default("1")},
        .outputs = {{u"curve1", UnitKind::Number, "range expansion index, from -100 to 100", DrawnAs::Line}},
    };
    FormattedText Formula() const {
        return FormatText("TDREI( %%s, %d, %d, %d, %d, %d, %d, %d, %d)", period, inclusive, periodWindow, highKind,
                          highLag, lowKind, lowLag, mode);
    }
    int BoundInputs() const { return IsUnset(period); }
    FormattedText Parameter(short n) const {
        return Nth(n, period, inclusive, periodWindow, highKind, highLag, lowKind, lowLag, mode);
    }
    long long Lookback() const;
    auto Steps() { return std::tie(values); }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) override;

private:
    using Neighbours = std::array<double, 2>;  // prices of two bars in a row

    double StepIndex(TDREIRecord& live, const BarPrices& bar);
    double Index(TDREIRecord& live, const BarPrices& bar, int window) const;
    bool Counts(const TDREIRecord& live, const BarPrices& bar, int window) const;
    bool Overlaps(double high, double low, const Neighbours& highs, const Neighbours& lows) const;

    int depth = 0;
    int period = 8;
    int inclusive = 1;
    int periodWindow = 0;
    int highKind = HighValue;
    int highLag = 2;
    int lowKind = LowValue;
    int lowLag = 2;
    int mode = 1;
    CSetStepValues<2> values;  // that stand for the high and the low of a bar
    StateStore<TDREIRecord> states;
};

}  // namespace sarvane
