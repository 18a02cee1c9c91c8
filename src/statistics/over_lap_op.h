#pragma once

#include "frame/bar_inputs.h"
#include "frame/described.h"
#include "frame/history_ring.h"

namespace sarvane {

using OverLapBar = std::array<double, 3>;  // high, low and close, the order of the inputs

struct OverLapState {
    OverLapBar previous = {UndefinedValue, UndefinedValue, UndefinedValue};  // last bar that was used
    BasicHistoryRing<OverLapBar> bars;
};

// OverlapCntOp( bar, trueRange, period [, mutual]) counts bars back from the newest one as long as their ranges overlap
// its range. The newest bar is counted, too, and `period` bars at most. Ranges that only touch overlap. A period that
// is no constant becomes a fourth input, read on every bar. With `trueRange` the range of a bar is extended to the
// close before it. With a `mutual` of 1 all bars that are counted must overlap each other.
class COverLapOp : public Described<COverLapOp> {
    friend Described;
    static constexpr WordDescription AmongThemselves[] = {
        {"0", "each bar has to overlap the newest one"}, {"1", "all bars that are counted have to overlap each other"}};
    static constexpr Description About = {
        .sentence = "how many bars in a row, back from the newest, have a range that overlaps the newest one's",
        .arguments =
            {Takes::Bar("bar", "prices", HlcFields),
             Takes::Switch("trueRange",
                           "a bar's range reaches to the close before it, as it also does if this is left out")
                 .Optional(),
             Takes::Count("period", "most bars that are counted, the newest one included").From(1).CanBeBound(),
             Takes::Word("mutual", "which bars have to overlap", AmongThemselves).Default("0")},
        .outputs = {{u"integer1", UnitKind::Number, "number of bars in the row, the newest one included",
                     DrawnAs::Step}},
    };
    FormattedText Formula() const {
        return IsUnset(period) || IsUnset(trueRange)
                   ? FormatText("OverlapCntOp( %%s, %d, %d)", trueRange, mutual)
                   : FormatText("OverlapCntOp( %%s, %d, %d %d)", trueRange, mutual, period);
    }
    int BoundInputs() const { return IsUnset(period); }
    static int ArgumentOf(short input) { return input < 3 ? 0 : 2; }
    FormattedText Parameter(short n) const { return Nth(n, trueRange, period, mutual); }
    int Lookback() const { return ValueOr(period, depth); }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) override;

private:
    using Bars = BasicHistoryRing<OverLapBar>;
    struct Range {
        double low;
        double high;
    };

    static bool Overlap(const Range& a, const Range& b) { return !(a.low > b.high || b.low > a.high); }
    Range RangeOf(const Bars& bars, int back) const;
    int RunLength(const Bars& bars, int most) const;
    int MutualLength(const Bars& bars, int run) const;

    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    int trueRange = UndefinedParam;  // a switch: on unless it is 0, and so on in a new operator
    int mutual = 0;                  // on only if it is 1
    StateStore<OverLapState> states;
};

}  // namespace sarvane
