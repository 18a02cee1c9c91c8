#pragma once

#include "frame/described.h"
#include "frame/history_ring.h"
#include "steps/guarded_value.h"
#include "steps/set_step_ma.h"

#include <algorithm>
#include <tuple>

namespace sarvane {

// How far price has run up and down within the lags.
struct PriceRuns {
    double up = UndefinedValue;
    double down = UndefinedValue;
};

// It has no initialisers, so that making a ring doesn't write to all of its cells.
struct HighLow {
    double high;
    double low;
};

struct KasePeakOscState {
    BasicHistoryRing<HighLow> bars{30};  // the recent ones, gaps included
    int ordinary = 0;                // how many of the newest bars in a row have ordinary prices
    GuardedValue close;              // of the last bar
    PriceRuns runs;                  // those measured last, in units of volatility
    GuardedValue last;               // oscillator of the last bar
    GuardedValue secondLast;         // oscillator of the bar before that
};

// Standard deviation of the last `count` values, from their sum and the sum of their squares. Gaps are left out.
struct SumDeviation {
    explicit SumDeviation(int values) : count(values), sum(StepSum, values), squareSum(StepSum, values) {}

    double Step(double value);
    auto Steps() { return std::tie(sum, squareSum); }

    int count;
    CSetStepMA sum;
    CSetStepMA squareSum;
};

// KasePeakOsc( bar, lagFrom, lagTo, deviationFactor) is how much further price has run up than down:
//
//     up = greatest of ln(high / low[k]) / sqrt(k)          low[k] is the low k bars back, for k from lagFrom to lagTo
//     down = greatest of ln(high[k] / low) / sqrt(k)
//     oscillator = 40 * (up - down) / volatility            both smoothed; volatility is that of the close
//
// Two thresholds are shown on the oscillator's side of zero: 100, and the mean of its size plus `deviationFactor` times
// the deviation of its size. The greater is the outer one. A turn beyond a threshold is marked one bar late. Unless all
// three parameters are set there is no output, and three inputs are declared in their place, but never read.
//
// Source: C. A. Kase, Trading with the Odds (1996).
class CKasePeakOscOp : public Described<CKasePeakOscOp> {
    friend Described;
    static constexpr Description About = {
        .sentence = "how much further price has run up than down, in units of its volatility, with marks on the turns",
        .arguments = {Takes::Bar("bar", "prices", HlcFields),
                      Takes::Count("lagFrom", "one end of the lags, in bars; only lags from 1 on count"),
                      Takes::Count("lagTo", "the other end of the lags; either may be the greater"),
                      Takes::Number("deviationFactor",
                                    "deviations that the oscillator's own threshold lies above its mean size")},
        .outputs =
            {{u"integer1", UnitKind::Number, "oscillator: how much further price ran up than down", DrawnAs::Histogram},
             {u"integer2", UnitKind::Number, "outer threshold, with the oscillator's sign", DrawnAs::Line},
             {u"integer3", UnitKind::Number, "turn of the bar before, beyond the outer threshold", DrawnAs::Marker},
             {u"integer4", UnitKind::Number, "inner threshold, with the oscillator's sign", DrawnAs::Line},
             {u"integer5", UnitKind::Number, "turn of the bar before, beyond the inner threshold alone",
              DrawnAs::Marker},
             {u"high", UnitKind::Curve, "high of the bar", DrawnAs::Line},
             {u"low", UnitKind::Curve, "low of the bar", DrawnAs::Line},
             {u"label1", UnitKind::Curve,
              "turn of the bar before: PG beyond the outer threshold, PL beyond the inner one alone", DrawnAs::Marker}},
    };
    FormattedText Formula() const {
        return FormatText("KasePeakOsc( %%s, %d, %d, %f)", lagFrom, lagTo, deviationFactor);
    }
    int BoundInputs() const { return HasParameters() ? 0 : 3; }
    FormattedText Parameter(short n) const { return Nth(n, lagFrom, lagTo, deviationFactor); }
    static std::u16string_view OutputName(short n) { return OutputNameOr(n, u"curve1"); }
    int Lookback() { return std::min(StepBars(), depth); }
    auto Steps() {
        return std::tuple_cat(returnDeviation.Steps(), levelDeviation.Steps(),
                              std::tie(volatilityStep, levelStep, upStep, downStep));
    }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) override;

private:
    bool HasParameters() const { return !IsUnset(lagFrom) && !IsUnset(lagTo) && !IsUndefined(deviationFactor); }
    int LongestLag() const { return std::max(lagFrom, lagTo); }
    int StepBars();
    PriceRuns MeasureRuns(KasePeakOscState& live, GuardedValue close);
    PriceRuns LongestRuns(const KasePeakOscState& live);
    void LongestOfOrdinary(const BasicHistoryRing<HighLow>& bars, int lag, int count, PriceRuns& longest);
    GuardedValue Level(GuardedValue oscillator);

    int depth = DefaultHistoryDepth;
    int lagFrom = UndefinedParam;
    int lagTo = UndefinedParam;
    double deviationFactor = UndefinedValue;
    // Where the longest runs were found last: a guess for the next bar, which no result depends on.
    int upLag = 0;
    int downLag = 0;
    SumDeviation returnDeviation{9};
    CSetStepMA volatilityStep{StepSim, 30};
    CSetStepMA upStep{StepSim, 3};
    CSetStepMA downStep{StepSim, 3};
    SumDeviation levelDeviation{50};
    CSetStepMA levelStep{StepSim, 50};
    StateStore<KasePeakOscState> states;
};

}  // namespace sarvane
