#pragma once

#include "frame/described.h"
#include "frame/extreme_place.h"
#include "frame/history_ring.h"
#include "frame/row_windows.h"
#include "steps/set_step_values.h"
#include "steps/value_kinds.h"

namespace sarvane {

// The six values of a bar that the levels are made of: top and bottom of the range for the upper level (Up) and of the
// range for the lower one (Down), and the base that each level starts from.
enum ReboValue : std::size_t { UpHigh, UpLow, DownHigh, DownLow, UpBase, DownBase, ReboValueCount };

// Where the extremes of the four range values stand among the bars of a range, by ReboValue. They are known from the bar
// before if that bar dropped its oldest value, as all do that follow a full ring.
struct RangeExtremes {
    int method = UndefinedParam;  // what the places are known for
    int length = UndefinedParam;
    std::array<ExtremePlace, 4> places;
};

// Recent values of ranges, by ReboValue: a window for each of them, in one column.
using ReboRanges = RowWindows<std::array<double, 4>, 4>;

struct TDReboRecord {
    int lastBar = 0;                // index of the last bar of the run, as `ResetBar` was told
    BarPrices previous = NoPrices;  // of the last bar that was used
    ReboRanges ranges;
    BasicHistoryRing<std::array<double, 2>> bases;  // recent UpBase and DownBase
    RangeExtremes extremes;
};

// TDRebo( bar, showHistory, ratio, baseKind, rangeLength, rangeMethod, upHighKind, upHighLag, upLowKind, upLowLag,
// downHighKind, downHighLag, downLowKind, downLowLag, baseLag, basePeriod) projects two price levels from earlier bars:
//
//     upper level = base + ratio * (range of the Up values)
//     lower level = base - ratio * (range of the Down values)
//
// By default the base is the close before, and both ranges are those of the bar before. A range spans `rangeLength`
// bars, the newest of which lies the lag of its values back. Without `showHistory` there are levels on two bars only:
// on the bar that lies the shortest of all lags before the last bar of the run, and on the bar after it.
class CTDReboOp : public Described<CTDReboOp, CDefZelmorOp2> {
    friend Described;
    static constexpr WordDescription RangeMethods[] = {
        {"0", "mean of the bars' ranges"},
        {"1", "highest high - lowest low"},
        {"2", "lowest high - highest low"},
        {"3", "widest of the bars' ranges"},
        {"4", "narrowest of the bars' ranges"},
        {"5", "range of the oldest bar"},
        {"6", "mean of both levels' ranges of method 0, for both levels"},
        {"7", "square root of method 1"},
    };
    static constexpr Description About = {
        .sentence = "two levels: an earlier price plus and less a part of an earlier range",
        .arguments =
            {Takes::Bar("bar", "prices", OhlcFields),
             Takes::Switch("showHistory", "levels on every bar instead of only two bars near the end").Default("0"),
             Takes::Number("ratio", "part of the range that is added and taken off").Default("0.618"),
             Takes::Word("baseKind", "value that the levels start from", ValueKindWords).Default("5"),
             Takes::Count("rangeLength", "bars of a range").From(1).Default("1"),
             Takes::Word("rangeMethod", "how the bars of a range are merged", RangeMethods).Default("1"),
             Takes::Word("upHighKind", "top of the upper level's range", ValueKindWords).Default("1"),
             Takes::Count("upHighLag", "bars back to the newest top of that range").From(0).Default("1"),
             Takes::Word("upLowKind", "bottom of the upper level's range", ValueKindWords).Default("3"),
             Takes::Count("upLowLag", "bars back to the newest bottom of that range").From(0).Default("1"),
             Takes::Word("downHighKind", "top of the lower level's range", ValueKindWords).Default("1"),
             Takes::Count("downHighLag", "bars back to the newest top of that range").From(0).Default("1"),
             Takes::Word("downLowKind", "bottom of the lower level's range", ValueKindWords).Default("3"),
             Takes::Count("downLowLag", "bars back to the newest bottom of that range").From(0).Default("1"),
             Takes::Count("baseLag", "bars back to the value that the levels start from").From(0).Default("1"),
             Takes::Count("basePeriod", "bars that are merged into one for that value").From(1).Default("1")},
        .outputs = {{u"high", UnitKind::Curve, "upper level: base + ratio * range", DrawnAs::Step},
                    {u"low", UnitKind::Curve, "lower level: base - ratio * range", DrawnAs::Step}},
    };
    FormattedText Formula() const {
        return FormatText("TDRebo( %%s, %d, %20.10f, %d, %d, %d, %d, %d, %d, %d, %d, %d, %d, %d, %d, %d)", showHistory,
                          ratio, kinds[UpBase], rangeLength, rangeMethod, kinds[UpHigh], lags[UpHigh], kinds[UpLow],
                          lags[UpLow], kinds[DownHigh], lags[DownHigh], kinds[DownLow], lags[DownLow], lags[UpBase],
                          basePeriod);
    }
    FormattedText Parameter(short n) const {
        return Nth(n, showHistory, FormatText("%20.10f", ratio), kinds[UpBase], rangeLength, rangeMethod, kinds[UpHigh],
                   lags[UpHigh], kinds[UpLow], lags[UpLow], kinds[DownHigh], lags[DownHigh], kinds[DownLow],
                   lags[DownLow], lags[UpBase], basePeriod);
    }
    long long Lookback() const {
        return std::max({2, rangeValues.GetLookback(), baseValues.GetLookback(), rangeLength, std::ranges::max(lags)}) +
               2LL;
    }
    auto Steps() { return std::tie(rangeValues, baseValues); }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetOutputRange(int, int, uint* first, uint* last) override {
        return AnswerRange(first, last, static_cast<uint>(ShortestLag()));
    }
    STDMETHODIMP ResetBar(int mode, int lastBar, int count, const double* seed) override;
    STDMETHODIMP CalculateBar(int bar, int inputCount, const double* in, int outputCount, double* out) override;
    STDMETHODIMP GetBarStyle(uint* style) override { return Answer(style, 2); }

private:
    struct Levels {
        double upper = UndefinedValue;
        double lower = UndefinedValue;
    };

    int ShortestLag() const { return std::ranges::min(lags); }
    void ConfigureRanges();
    void ConfigureSteps();
    Levels StepLevels(TDReboRecord& live, const BarPrices& prices);
    bool IsReady(const TDReboRecord& live) const;
    Levels LevelsOf(TDReboRecord& live) const;
    double RangeOf(TDReboRecord& live, ReboValue highs, ReboValue lows) const;
    bool Shows(int bar, int lastBar) const;

    int depth = DefaultHistoryDepth;
    int showHistory = 0;
    double ratio = 0.618;
    int rangeLength = 1;
    int rangeMethod = 1;
    int basePeriod = 1;
    // By ReboValue. Both bases have the same parameters.
    std::array<int, ReboValueCount> kinds = {HighValue, LowValue, HighValue, LowValue, CloseValue, CloseValue};
    std::array<int, ReboValueCount> lags = {1, 1, 1, 1, 1, 1};
    // By ReboValue: how many bars back the oldest value of a range lies, and how many values there must be for a range.
    std::array<int, 4> oldestLags{}, readySizes{};
    CSetStepValues<4> rangeValues;  // UpHigh to DownLow
    CSetStepValues<2> baseValues;   // UpBase and DownBase
    StateStore<TDReboRecord> states;
};

}  // namespace sarvane
