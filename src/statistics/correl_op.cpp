#include "statistics/correl_op.h"

#include <cmath>

namespace sarvane {
namespace {

enum Argument : short { CurveA, CurveB, Period };

struct Moments {
    double mean;
    double variance;
};

Moments MomentsOf(const SeriesSums& sums, int count) {
    const double mean = sums.values / count;
    double variance = sums.squares / count - mean * mean;
    // Rounding can give a flat curve a variance just below 0. A variance farther below comes from sums whose digits are
    // lost; its root is a NaN, which becomes the output.
    if (variance < 0.0 && variance > -0.001) variance = 0.0;
    return {mean, variance};
}

// (mean(a b) - mean(a) mean(b)) / (deviation(a) deviation(b)), in percent. A curve that is flat over the window has no
// correlation.
double Correlation(const CorrelSums& sums, int count) {
    const Moments a = MomentsOf(sums.a, count);
    const Moments b = MomentsOf(sums.b, count);
    const double deviations = std::sqrt(b.variance) * std::sqrt(a.variance);
    if (deviations < 1e-100) return UndefinedValue;
    return (sums.products / count - b.mean * a.mean) / deviations * 100.0;
}

}  // namespace

// Every call unsets the period, whatever its index. So only a period that is set last stays.
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

// If one value of a pair is missing the other one is not used either: the previous pair is repeated.
STDMETHODIMP CCorrelOp::Calculate(int, const double* in, int, double* out) {
    out[0] = UndefinedValue;
    CorrelState& live = states.Live();
    CorrelPair pair = {.a = in[CurveA], .b = in[CurveB]};
    if (IsUndefined(pair.a) || IsUndefined(pair.b)) pair = live.previous;
    if (IsUndefined(pair.a) || IsUndefined(pair.b)) return S_OK;
    out[0] =
        IsUnset(period) ? FromNewestPairs(live.window, pair, TruncateToInt(in[Period])) : FromRunningSums(live, pair);
    live.previous = pair;
    return S_OK;
}

double CCorrelOp::FromRunningSums(CorrelState& live, CorrelPair pair) const {
    live.window.Push(pair);
    if (live.window.Size() > period) {
        live.sums.Subtract(live.window[0]);
        live.window.PopFront();
    }
    live.sums.Add(pair);
    return live.window.Size() == period ? Correlation(live.sums, period) : UndefinedValue;
}

// The period may differ from bar to bar, so the pairs are summed up afresh on each bar, newest pair first. The window
// holds at most `depth` - 1 pairs.
double CCorrelOp::FromNewestPairs(BasicHistoryRing<CorrelPair>& window, CorrelPair pair, int wanted) const {
    window.Push(pair);
    if (window.Size() >= depth) window.PopFront();
    if (wanted < 1 || wanted > window.Size()) return UndefinedValue;
    CorrelSums sums;
    window.NewestFirst(wanted, [&](const CorrelPair& earlier) { sums.Add(earlier); });
    return Correlation(sums, wanted);
}

}  // namespace sarvane
