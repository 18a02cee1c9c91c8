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

// How the bars of a range are merged into one range.
enum Method : int {
    MeanRange,
    OuterRange,  // highest high - lowest low
    InnerRange,  // lowest high - highest low: below 0 if the bars have no price in common
    WidestRange,
    NarrowestRange,
    OldestRange,
    CommonMean,  // mean of both levels' MeanRange, used for both levels
    RootRange,   // square root of OuterRange
};

// The highest of `n` values if `isBeyond` means above, the lowest if it means below.
template <class ValueAt, class Beyond>
double Extreme(int n, ValueAt valueAt, Beyond isBeyond) {
    double extreme = valueAt(0);
    for (int i = 1; i < n; ++i) {
        if (isBeyond(valueAt(i), extreme)) extreme = valueAt(i);
    }
    return extreme;
}

// The oldest `n` elements of a ring, as a window of their own.
struct OldestElements {
    const HistoryRing& ring;
    int n;

    int Size() const { return n; }
    const double& operator[](int i) const { return ring[i]; }
    const double& Newest(int bars = 0) const { return ring[n - 1 - bars]; }
    template <bool InFours, class Use>
    void OldestFirst(int count, Use use, int skipped) const {
        ring.OldestFirst<InFours>(count, use, skipped);
    }
};
// Each high is added and each low taken off in turn, from the oldest bar on.
double MeanOfRanges(int n, const HistoryRing& highs, const HistoryRing& lows) {
    double sum = 0.0;
    for (int i = 0; i < n; ++i) {
        sum += highs[i];
        sum -= lows[i];
    }
    return sum / n;
}

double RootIfPositive(double range) { return range > 0.0 ? std::sqrt(range) : range; }

}  // namespace

STDMETHODIMP CTDReboOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
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
        for (const ReboValue base : {UpBase, DownBase})
            states.Live().rings[base].Reconfigure(WindowRoom(number, depth));
        break;
    case BasePeriod: basePeriod = number; break;
    }
    // After any argument, so that a host may hand them over in any order.
    ReconfigureRangeRings();
    ConfigureSteps();
    return S_OK;
}

void CTDReboOp::ReconfigureRangeRings() {
    if (AnyUnset({rangeLength, lags[UpHigh], lags[UpLow], lags[DownHigh], lags[DownLow]})) return;
    for (const ReboValue value : {UpHigh, UpLow, DownHigh, DownLow})
        states.Live().rings[value].Reconfigure(static_cast<long long>(lags[value]) + rangeLength);
}

// Kinds with two alternatives take the first one for the upper level, the second for the lower.
void CTDReboOp::ConfigureSteps() {
    if (IsUnset(std::ranges::min(kinds)) || IsUnset(basePeriod)) return;
    rangeValues.Configure({kinds[UpHigh], kinds[UpLow], kinds[DownHigh], kinds[DownLow]}, {1, 1, 0, 0}, 1);
    baseValues.Configure({kinds[UpBase], kinds[DownBase]}, {1, 0}, basePeriod);
}

STDMETHODIMP CTDReboOp::ResetBar(int, int lastBar, int count, const double* seed) {
    TDReboRecord& live = states.Live();
    live.previous = SeedsOf<BarPrices>(count, seed);
    ResetAll(Steps());
    for (HistoryRing& ring : live.rings) ring.Clear();
    live.extremes = {};
    live.lastBar = lastBar;
    return S_OK;
}

STDMETHODIMP CTDReboOp::CalculateBar(int bar, int, const double* in, int, double* out) {
    out[0] = out[1] = UndefinedValue;
    TDReboRecord& live = states.Live();
    BarPrices prices = ValuesAt<BarPrices>(in);
    if (!FillGaps(prices, live.previous)) return S_OK;
    const Levels levels = StepLevels(live, prices);
    live.previous = prices;
    if (Shows(bar, live.lastBar)) {
        out[0] = levels.upper;
        out[1] = levels.lower;
    }
    return S_OK;
}

// Without one of the six values the bar leaves the rings as they are.
CTDReboOp::Levels CTDReboOp::StepLevels(TDReboRecord& live, const BarPrices& prices) {
    const auto [upHigh, upLow, downHigh, downLow] = rangeValues.Step(prices);
    const auto [upBase, downBase] = baseValues.Step(prices);
    const std::array values = {upHigh, upLow, downHigh, downLow, upBase, downBase};
    if (HasGap(values)) return {};
    for (std::size_t i = 0; i < values.size(); ++i) live.rings[i].Push(values[i]);
    const bool ready = IsReady(live);
    const Levels levels = ready ? LevelsOf(live) : Levels{};
    for (std::size_t i = 0; i < values.size(); ++i) {
        const bool dropped = live.rings[i].Size() > OldestLag(i);
        if (dropped) live.rings[i].PopFront();
        if (!IsBase(i) && !(ready && dropped)) live.extremes.places[i].Forget();
    }
    return levels;
}

// How many bars back the oldest value lies that a level is made of. So many values stay from one bar to the next.
long long CTDReboOp::OldestLag(std::size_t value) const {
    return IsBase(value) ? lags[value] : lags[value] - 1LL + rangeLength;
}

// A full ring holds the values from this bar to OldestLag bars back. A range with a lag above 0 is formed one bar
// before its ring is full: the ring's oldest value is then one bar younger than on later bars. With a lag of 0 the ring
// has to be full, since otherwise the range would reach to a bar that has not come yet.
bool CTDReboOp::IsReady(const TDReboRecord& live) const {
    if (rangeLength < 0 || ShortestLag() < 0) return false;
    for (std::size_t value = 0; value < live.rings.size(); ++value) {
        const long long fullSize = OldestLag(value) + 1;
        const bool canBeEarly = !IsBase(value) && lags[value] > 0;
        if (live.rings[value].Size() < (canBeEarly ? fullSize - 1 : fullSize)) return false;
    }
    return true;
}

// Merges the oldest `rangeLength` bars of two rings into one range. With a single bar there is nothing to merge, and
// every method gives the range of that bar.
double CTDReboOp::RangeOf(TDReboRecord& live, ReboValue highValue, ReboValue lowValue) const {
    constexpr std::greater<> Above;
    constexpr std::less<> Below;
    const HistoryRing &highs = live.rings[highValue], &lows = live.rings[lowValue];
    const auto range = [&](int i) { return highs[i] - lows[i]; };
    const auto extreme = [&](ReboValue value, auto isBeyond) {
        const OldestElements oldest{live.rings[value], rangeLength};
        const auto hasOrder = [](double element) { return element == element; };
        return oldest.Newest(live.extremes.places[value].Follow(oldest, isBeyond, hasOrder));
    };
    switch (rangeLength < 2 ? OldestRange : rangeMethod) {
    case MeanRange:
    case CommonMean: return MeanOfRanges(rangeLength, highs, lows);
    case OuterRange:
    case RootRange: return extreme(highValue, Above) - extreme(lowValue, Below);
    case InnerRange: return extreme(highValue, Below) - extreme(lowValue, Above);
    case WidestRange: return Extreme(rangeLength, range, Above);
    case NarrowestRange: return Extreme(rangeLength, range, Below);
    case OldestRange: return range(0);
    default: return UndefinedValue;
    }
}

CTDReboOp::Levels CTDReboOp::LevelsOf(TDReboRecord& live) const {
    if (live.extremes.method != rangeMethod || live.extremes.length != rangeLength)
        live.extremes = {.method = rangeMethod, .length = rangeLength, .places = {}};
    double up = RangeOf(live, UpHigh, UpLow);
    double down = RangeOf(live, DownHigh, DownLow);
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
