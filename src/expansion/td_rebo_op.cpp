#include "expansion/td_rebo_op.h"

#include <cmath>
#include <functional>

namespace sarvane {
namespace {

enum Argument : short {
    Bar,
    ShowHistory,
    Ratio,
    BaseKind,
    RangeLength,
    RangeMethod,
    UpHighKind,
    UpHighLag,
    UpLowKind,
    UpLowLag,
    DownHighKind,
    DownHighLag,
    DownLowKind,
    DownLowLag,
    BaseLag,
    BasePeriod
};

// How the bars of a range are merged.
enum Method : int {
    MeanRange,
    OuterRange,  // from the lowest low to the highest high
    InnerRange,  // from the highest low to the lowest high; below 0 without overlap
    WidestRange,
    NarrowestRange,
    OldestRange,
    CommonMean,  // of both mean ranges, for both levels
    RootRange,   // of the outer range
};

constexpr int Directions[] = {1, 1, 0, 0, 1, 0};  // by ReboValue

// The first of `n` values that no other one lies beyond.
template <class ValueAt, class Beyond>
double Extreme(int n, ValueAt valueAt, Beyond isBeyond) {
    double extreme = valueAt(0);
    for (int i = 1; i < n; ++i) {
        if (isBeyond(valueAt(i), extreme)) extreme = valueAt(i);
    }
    return extreme;
}

double MeanOfRanges(int n, const HistoryRing& highs, const HistoryRing& lows) {
    double sum = 0.0;
    for (int i = 0; i < n; ++i) {
        sum += highs[i];
        sum -= lows[i];
    }
    return sum / n;
}

// The range of the oldest `n` bars. One bar alone leaves nothing to merge.
double RangeOf(int method, int n, const HistoryRing& highs, const HistoryRing& lows) {
    constexpr std::greater<> Above;
    constexpr std::less<> Below;
    const auto high = [&](int i) { return highs[i]; };
    const auto low = [&](int i) { return lows[i]; };
    const auto range = [&](int i) { return highs[i] - lows[i]; };
    switch (n < 2 ? OldestRange : method) {
    case MeanRange:
    case CommonMean: return MeanOfRanges(n, highs, lows);
    case OuterRange:
    case RootRange: return Extreme(n, high, Above) - Extreme(n, low, Below);
    case InnerRange: return Extreme(n, high, Below) - Extreme(n, low, Above);
    case WidestRange: return Extreme(n, range, Above);
    case NarrowestRange: return Extreme(n, range, Below);
    case OldestRange: return range(0);
    default: return UndefinedValue;
    }
}

double RootIfPositive(double range) { return range > 0.0 ? std::sqrt(range) : range; }

}  // namespace

STDMETHODIMP CTDReboOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    auto& rings = states.Live().rings;
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case ShowHistory: showHistory = number; break;
    case Ratio: ratio = TextToDouble(value); break;
    case BaseKind: kinds[UpBase] = kinds[DownBase] = number; break;
    case RangeLength: rangeLength = number; break;
    case RangeMethod: rangeMethod = number; break;
    case UpHighKind: kinds[UpHigh] = number; break;
    case UpHighLag: lags[UpHigh] = number; break;
    case UpLowKind: kinds[UpLow] = number; break;
    case UpLowLag: lags[UpLow] = number; break;
    case DownHighKind: kinds[DownHigh] = number; break;
    case DownHighLag: lags[DownHigh] = number; break;
    case DownLowKind: kinds[DownLow] = number; break;
    case DownLowLag: lags[DownLow] = number; break;
    case BaseLag:
        lags[UpBase] = lags[DownBase] = number;
        for (const ReboValue base : {UpBase, DownBase}) rings[base].Reconfigure(WindowRoom(number, depth));
        break;
    case BasePeriod: basePeriod = number; break;
    }
    if (!AnyUnset({rangeLength, lags[UpHigh], lags[UpLow], lags[DownHigh], lags[DownLow]})) {
        for (std::size_t end = UpHigh; end < UpBase; ++end)
            rings[end].Reconfigure(static_cast<long long>(lags[end]) + rangeLength);
    }
    if (!IsUnset(std::min(std::ranges::min(kinds), basePeriod))) {
        for (std::size_t i = 0; i < steps.size(); ++i)
            steps[i].Configure(kinds[i], Directions[i], i < UpBase ? 1 : basePeriod);
    }
    return S_OK;
}

STDMETHODIMP CTDReboOp::ResetBar(int, int lastBar, int count, const double* first) {
    TDReboRecord& live = states.Live();
    live.previous = SeedsOf<BarPrices>(count, first);
    ResetAll(steps);
    for (HistoryRing& ring : live.rings) ring.Clear();
    live.lastBar = lastBar;
    return S_OK;
}

STDMETHODIMP CTDReboOp::CalculateBar(int bar, int, const double* in, int, double* out) {
    out[0] = out[1] = UndefinedValue;
    TDReboRecord& live = states.Live();
    const BarPrices prices = WithGapsFilled(live.previous, in);
    if (HasGap(prices)) return S_OK;
    const Levels levels = TakeIn(live, prices);
    live.previous = prices;
    if (Shows(bar, live.lastBar)) {
        out[0] = levels.upper;
        out[1] = levels.lower;
    }
    return S_OK;
}

CTDReboOp::Levels CTDReboOp::TakeIn(TDReboRecord& live, const BarPrices& prices) {
    std::array<double, ReboValueCount> values;
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = steps[i].Step(prices);
    if (HasGap(values)) return {};
    for (std::size_t i = 0; i < values.size(); ++i) live.rings[i].Push(values[i]);
    const Levels levels = IsReady(live) ? LevelsOf(live) : Levels{};
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (live.rings[i].Size() > KeptOf(i)) live.rings[i].PopFront();
    }
    return levels;
}

// How many values of one kind stay from one bar to the next.
long long CTDReboOp::KeptOf(std::size_t value) const { return lags[value] - 1LL + (value < UpBase ? rangeLength : 1); }

// A range is taken a bar early, when its oldest bar lies a bar nearer; with a lag of 0 that bar is still missing.
bool CTDReboOp::IsReady(const TDReboRecord& live) const {
    if (rangeLength < 0 || ShortestLag() < 0) return false;
    for (std::size_t i = 0; i < live.rings.size(); ++i) {
        const bool canBeEarly = i < UpBase && lags[i] > 0;
        if (live.rings[i].Size() < KeptOf(i) + (canBeEarly ? 0 : 1)) return false;
    }
    return true;
}

CTDReboOp::Levels CTDReboOp::LevelsOf(const TDReboRecord& live) const {
    double up = RangeOf(rangeMethod, rangeLength, live.rings[UpHigh], live.rings[UpLow]);
    double down = RangeOf(rangeMethod, rangeLength, live.rings[DownHigh], live.rings[DownLow]);
    if (rangeMethod == CommonMean) up = down = (up + down) * 0.5;
    if (rangeMethod == RootRange) {
        up = RootIfPositive(up);
        down = RootIfPositive(down);
    }
    if (IsUndefined(up) || IsUndefined(down)) return {};
    return {ratio * up + live.rings[UpBase][0], live.rings[DownBase][0] - ratio * down};
}

bool CTDReboOp::Shows(int bar, int lastBar) const {
    const long long first = static_cast<long long>(lastBar) - ShortestLag();
    return showHistory != 0 || bar == first || bar == first + 1;
}

}  // namespace sarvane
