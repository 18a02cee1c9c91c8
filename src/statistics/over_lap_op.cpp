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
    OverLapBar bar = ValuesAt<OverLapBar>(in);
    if (!FillGaps(bar, live.previous)) return S_OK;
    live.bars.Push(bar);
    live.previous = bar;

    // With true ranges one bar more is kept: its close belongs to the range of the oldest bar that is counted.
    const long long barsBefore = trueRange ? 1 : 0;
    if (live.bars.Size() > (period >= 1 ? period : depth) + barsBefore) live.bars.PopFront();
    // A constant period below 1 gives no output: only an unset period has an input that it could be read from.
    const int most = IsUnset(period) ? TruncateToInt(in[Count]) : period >= 1 ? period : UndefinedParam;
    if (IsUnset(most) || live.bars.Size() < most + barsBefore) return S_OK;
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

// How many bars in a row, from the newest one back, overlap the newest one. At least 1: with a bound `most` below 2 no
// ranges are formed, since there may be no bar.
int COverLapOp::RunLength(const Bars& bars, int most) const {
    int run = 1;
    while (run < most && Overlap(RangeOf(bars, run), RangeOf(bars, 0))) ++run;
    return run;
}

// Shortens a run to end before the first bar that does not overlap all bars between it and the newest one. All of them
// are overlapped by a range that overlaps the one from the highest of their lows to the lowest of their highs.
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
