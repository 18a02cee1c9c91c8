#pragma once

#include "expansion/set_step_value.h"
#include "frame/described.h"
#include "frame/history_ring.h"
#include "frame/plain_ring.h"
#include "frame/value_kinds.h"

namespace sarvane {

struct TDREIRecord {
    BarPrices previous = NoPrices;  // of the last bar that was used
    HistoryRing highs, lows, closes;
    PlainRing numerators;               // counted movement; the newest can be cancelled in place
    HistoryRing denominators;           // absolute movement of the same bars
    HistoryRing highValues, lowValues;  // of the two steps, what bars are compared with
};

// TDREI( bar, period, inclusive, periodWindow, highKind, highLag, lowKind, lowLag, mode) sums over the last `period`
// bars by how much high and low have moved since `highLag` and `lowLag` bars, and gives it in percent of the sum of the
// absolute movement. Only bars that overlap with the price of some bars before count in the first sum; `inclusive` says
// whether touching is overlapping, and `periodWindow` whether "some bars before" depends on the period. In mode 2 a
// bar that doesn't overlap also takes the bar before it out of the first sum.
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
    auto Steps() { return std::tie(highStep, lowStep); }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;

private:
    double TakeIn(TDREIRecord& live, const BarPrices& bar);
    double Index(TDREIRecord& live, const BarPrices& bar, int window) const;
    bool Overlaps(const TDREIRecord& live, const BarPrices& bar, int window) const;

    int depth = 0;
    int period = 8;
    int inclusive = 1;
    int periodWindow = 0;
    int highKind = HighValue;
    int highLag = 2;
    int lowKind = LowValue;
    int lowLag = 2;
    int mode = 1;
    CSetStepValue highStep, lowStep;
    StateStore<TDREIRecord> states;
};

}  // namespace sarvane
