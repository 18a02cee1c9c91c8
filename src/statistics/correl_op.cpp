#include "statistics/correl_op.h"

#include <cmath>

namespace sarvane {
namespace {

enum Argument : short { CurveA, CurveB, Period };

void Add(CorrelSums& sums, CorrelPair pair) {
    sums.a += pair.a;
    sums.aa += pair.a * pair.a;
    sums.b += pair.b;
    sums.bb += pair.b * pair.b;
    sums.ab += pair.a * pair.b;
}

void Subtract(CorrelSums& sums, CorrelPair pair) {
    sums.a -= pair.a;
    sums.aa -= pair.a * pair.a;
    sums.b -= pair.b;
    sums.bb -= pair.b * pair.b;
    sums.ab -= pair.b * pair.a;
}

double Variance(double meanOfSquares, double mean) {
    const double variance = meanOfSquares - mean * mean;
    if (variance < 0.0 && variance > -0.001) return 0.0;  // rounding; what lies lower is left to show as NaN
    return variance;
}

// A curve that is flat over the window correlates with nothing: no value, rather than 0.
double Correlate(const CorrelSums& sums, int count) {
    const double meanA = sums.a / count;
    const double meanB = sums.b / count;
    const double meanAB = sums.ab / count;
    const double varianceA = Variance(sums.aa / count, meanA);
    const double varianceB = Variance(sums.bb / count, meanB);
    const double deviations = std::sqrt(varianceB) * std::sqrt(varianceA);
    if (deviations < 1e-100) return UndefinedValue;
    return (meanAB - meanB * meanA) / deviations * 100.0;
}

}  // namespace

// Whatever comes after the period unsets it again: hosts set it last.
STDMETHODIMP CCorrelOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    period = UndefinedParam;
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case Period:
        period = PositiveOrUnset(number);
        states.Live().window.Reconfigure(WindowRoom(period, depth));
        break;
    }
    return S_OK;
}

STDMETHODIMP CCorrelOp::Reset(int count, const double* seed) {
    CorrelState& live = states.Live();
    live.previous = {.a = NthSeed(CurveA, count, seed), .b = NthSeed(CurveB, count, seed)};
    live.sums = {};
    live.window.Clear();
    return S_OK;
}

// A pair stays together: with one value missing, both repeat the bar before.
STDMETHODIMP CCorrelOp::Calculate(int, const double* in, int, double* out) {
    out[0] = UndefinedValue;
    CorrelState& live = states.Live();
    CorrelPair pair = {.a = in[CurveA], .b = in[CurveB]};
    if (IsUndefined(pair.a) || IsUndefined(pair.b)) pair = live.previous;
    if (IsUndefined(pair.a) || IsUndefined(pair.b)) return S_OK;
    out[0] = IsUnset(period) ? OfNewest(live.window, pair, TruncateToInt(in[Period])) : OfRunningSums(live, pair);
    live.previous = pair;
    return S_OK;
}

double CCorrelOp::OfRunningSums(CorrelState& live, CorrelPair pair) const {
    live.window.Push(pair);
    if (live.window.Size() > period) {
        Subtract(live.sums, live.window[0]);
        live.window.PopFront();
    }
    Add(live.sums, pair);
    return live.window.Size() == period ? Correlate(live.sums, period) : UndefinedValue;
}

// The period may differ on every bar, so the window is summed afresh, newest pair first. One bar less than the history
// depth is kept.
double CCorrelOp::OfNewest(BasicHistoryRing<CorrelPair>& window, CorrelPair pair, int wanted) const {
    window.Push(pair);
    if (window.Size() >= depth) window.PopFront();
    if (wanted < 1 || wanted > window.Size()) return UndefinedValue;
    CorrelSums sums;
    for (int bars = 0; bars < wanted; ++bars) Add(sums, window.Newest(bars));
    return Correlate(sums, wanted);
}

}  // namespace sarvane
