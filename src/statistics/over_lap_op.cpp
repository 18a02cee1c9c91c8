#include "statistics/over_lap_op.h"

#include <limits>

namespace sarvane {
namespace {

enum Argument : short { Bar, TrueRange, Period, Mutual };
enum Input : short { High, Low, Close, Count };

}  // namespace

STDMETHODIMP COverLapOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case TrueRange: trueRange = number; break;
    case Period: period = number; break;
    case Mutual: mutual = number; break;
    }
    return S_OK;
}

STDMETHODIMP COverLapOp::Reset(int count, const double* seed) {
    OverLapState& live = states.Live();
    live.previous = SeedsOf<OverLapBar>(count, seed);
    live.bars.Clear();
    return S_OK;
}

STDMETHODIMP COverLapOp::Calculate(int, const double* in, int, double* out) {
    out[0] = UndefinedValue;
    OverLapState& live = states.Live();
    const OverLapBar bar = WithGapsFilled(live.previous, in);
    if (HasGap(bar)) return S_OK;
    live.bars.Push(bar);
    live.previous = bar;

    // One bar more supplies the close ahead of the oldest bar that is counted.
    const long long closes = trueRange ? 1 : 0;
    if (live.bars.Size() > (period >= 1 ? period : depth) + closes) live.bars.PopFront();
    // A constant below 1 has no input to be read from.
    const int most = IsUnset(period) ? TruncateToInt(in[Count]) : period >= 1 ? period : UndefinedParam;
    if (IsUnset(most) || live.bars.Size() < most + closes) return S_OK;
    const int run = RunLength(live.bars, most);
    out[0] = mutual == 1 ? MutualLength(live.bars, run) : run;
    return S_OK;
}

COverLapOp::Range COverLapOp::RangeOf(const Bars& bars, int back) const {
    const OverLapBar& bar = bars.Newest(back);
    if (!trueRange) return {bar[Low], bar[High]};
    const double before = bars.Newest(back + 1)[Close];
    return {Lesser(bar[Low], before), Greater(bar[High], before)};
}

// How many bars, the newest included, overlap the newest one without a break. A bound count below 1 gives 1 and looks
// at no bar.
int COverLapOp::RunLength(const Bars& bars, int most) const {
    int run = 1;
    while (run < most && Overlap(RangeOf(bars, run), RangeOf(bars, 0))) ++run;
    return run;
}

// Cuts a run ahead of the first bar that fails to overlap one between it and the newest. To overlap each of those is
// to reach the highest of their lows and the lowest of their highs.
int COverLapOp::MutualLength(const Bars& bars, int run) const {
    constexpr double Infinity = std::numeric_limits<double>::infinity();
    Range common = {-Infinity, Infinity};
    for (int back = 1; back < run; ++back) {
        const Range range = RangeOf(bars, back);
        if (!Overlap(range, common)) return back;
        common = {Greater(range.low, common.low), Lesser(range.high, common.high)};
    }
    return run;
}

}  // namespace sarvane
