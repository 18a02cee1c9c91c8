#pragma once

#include "frame/described.h"
#include "frame/history_ring.h"
#include "steps/guarded_value.h"
#include "steps/set_step_ma.h"

#include <array>

namespace sarvane {

using StochXPrices = std::array<double, 3>;  // high, low, close

// A bar as the averages see it.
struct StochXBar {
    GuardedValue low;       // lowest low of the range
    GuardedValue range;     // highest high minus lowest low
    GuardedValue position;  // close minus lowest low
    GuardedValue raw;       // position / range, the raw ratio
};

// What the averages give on a bar.
struct StochXLines {
    GuardedValue positionAverage;  // averages of `position` and `range`, of the same kind and length as the fast line
    GuardedValue rangeAverage;
    GuardedValue fast;
    GuardedValue slow;
};

struct StochXState {
    using History = BasicHistoryRing<GuardedValue>;  // oldest first

    StochXPrices previous = {UndefinedValue, UndefinedValue, UndefinedValue};  // of the last bar that was used
    StochXLines lines;                                                         // on that bar
    // Past entries of simple averages, from which the entry is taken that leaves an average on this bar. It is counted
    // from the newest one, so a history may hold more entries than its average.
    History rawForFast;
    History rawForSlow;
    History fastHistory;
    History positions;
    History ranges;
};

// The inputs of the operator: two fields of a bar, and a plain value that plays the close.
inline constexpr std::u16string_view StochXFields[] = {HighField, LowField, u""};

inline constexpr WordDescription StochXRatioModes[] = {
    {"0", "average of the close above the low, divided by the average of the range; so is any other number"},
    {"1", "average of the raw ratio"},
};
inline constexpr WordDescription StochXAverages[] = {
    {"0", "simple"},
    {"1", "smoothed"},
    {"2", "exponential; so is any other number"},
};

// StochX_( bar, ratioMode, fastKind, slowKind, rangeLength, fastLength, slowLength) gives two prices of a stochastic
// oscillator (George C. Lane, "Lane's Stochastics", Technical Analysis of Stocks & Commodities, 1984). Its raw ratio is
// the position of the close between the lowest low and the highest high of `rangeLength` bars, its fast line an average
// of that, and its slow line an average of the fast line. The first price is the close at which the raw ratio would
// meet the fast line, the second the close at which the fast line would meet the slow line. All averages are linear in
// the close of this bar, so each of the two equations has one solution.
//
// With `ratioMode` 1 the fast line averages the raw ratio; otherwise it is the average position of the close divided by
// the average range. A kind is simple (0), smoothed (1) or exponential (any other). A length below 1.0 is a smoothing
// ratio, and stored as the length that it stands for.
class CStochXOp : public Described<CStochXOp> {
    friend Described;
    static constexpr Description About = {
        .sentence = "prices at which the lines of a stochastic oscillator would cross",
        .arguments =
            {Takes::Bar("bar", "high, low, and the value that plays the close", StochXFields),
             Takes::Word("ratioMode", "what the fast line is", StochXRatioModes).Optional(),
             Takes::Word("fastKind", "kind of the average behind the fast line", StochXAverages).Optional(),
             Takes::Word("slowKind", "kind of the average that is the slow line", StochXAverages).Optional(),
             Takes::Number("rangeLength", "bars of the range from the lowest low to the highest high").From(1),
             Takes::Number("fastLength", "length of the fast average in bars; below 1 its smoothing ratio").From(0),
             Takes::Number("slowLength", "length of the slow average in bars; below 1 its smoothing ratio").From(0)},
        .outputs = {{u"curve1", UnitKind::Curve, "close at which the raw ratio would meet the fast line",
                     DrawnAs::Line},
                    {u"curve2", UnitKind::Curve, "close at which the fast line would meet the slow line",
                     DrawnAs::Line}},
    };
    FormattedText Formula() const {
        return FormatText("StochX_( %%s, %d, %d, %d, %f, %f, %f)", ratioMode, fastKind, slowKind, rangeLength,
                          fastLength, slowLength);
    }
    FormattedText Parameter(short n) const {
        return Nth(n, ratioMode, fastKind, slowKind, rangeLength, fastLength, slowLength);
    }
    auto Steps() { return std::tie(lowStep, highStep, positionStep, rangeStep, rawStep, slowStep); }
    int Lookback() { return LongestLookback(Steps()); }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) override;

private:
    void ConfigureSteps();

    StochXBar WithinRange(const StochXPrices& prices);
    StochXLines Average(const StochXBar& bar);
    GuardedValue CloseForFast(GuardedValue level, const StochXBar& bar, const StochXLines& before);
    GuardedValue CloseForRecursive(GuardedValue level, const StochXBar& bar, const StochXLines& before) const;
    GuardedValue CloseForSimpleOfRaw(GuardedValue level, const StochXBar& bar, const StochXLines& before);
    GuardedValue CloseForSimpleOfParts(GuardedValue level, const StochXBar& bar, const StochXLines& before);

    int ratioMode = UndefinedParam;
    int fastKind = UndefinedParam;
    int slowKind = UndefinedParam;
    double rangeLength = UndefinedValue;
    double fastLength = UndefinedValue;
    double slowLength = UndefinedValue;
    CSetStepMA lowStep;
    CSetStepMA highStep;
    CSetStepMA positionStep;
    CSetStepMA rangeStep;
    CSetStepMA rawStep;
    CSetStepMA slowStep;
    StateStore<StochXState> states;
};

}  // namespace sarvane
