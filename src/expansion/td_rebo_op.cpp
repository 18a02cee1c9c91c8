#include "expansion/td_rebo_op.h"

#include <cmath>
#include <functional>
#include <limits>

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

constexpr int Never = std::numeric_limits<int>::max();  // more values than a ring can hold

// The highest of `n` values if `isBeyond` means above, the lowest if it means below.
template <class ValueAt, class Beyond>
double Extreme(int n, ValueAt valueAt, Beyond isBeyond) {
    double extreme = valueAt(0);
    for (int i = 1; i < n; ++i) {
        if (isBeyond(valueAt(i), extreme)) extreme = valueAt(i);
    }
    return extreme;
}

// The oldest `n` of a value, as a window of their own.
class OldestValues {
public:
    OldestValues(const ReboRanges& recent, ReboValue which, int length)
        : ranges(recent), rows(recent.From(which)), value(which), n(length) {}

    ReboValue Value() const { return value; }
    int Size() const { return n; }
    const double& operator[](int i) const { return rows[i][value]; }
    const double& Newest(int bars = 0) const { return rows[n - 1 - bars][value]; }
    template <bool InFours, class Use>
    void OldestFirst(int count, Use use, int skipped) const {
        ranges.OldestFirst<InFours>(
            value, count, [&](const auto& row) { use(row[value]); }, skipped);
    }

private:
    const ReboRanges& ranges;
    RingView<std::array<double, 4>> rows;
    ReboValue value;
    int n;
};
// Each high is added and each low taken off in turn, from the oldest bar on.
double MeanOfRanges(const OldestValues& highs, const OldestValues& lows) {
    double sum = 0.0;
    for (int i = 0; i < highs.Size(); ++i) {
        sum += highs[i];
        sum -= lows[i];
    }
    return sum / highs.Size();
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
        states.Live().bases.Reconfigure(WindowRoom(number, depth));
        break;
    case BasePeriod: basePeriod = number; break;
    }
    // After any argument, so that a host may hand them over in any order.
    ConfigureRanges();
    ConfigureSteps();
    return S_OK;
}

// A full window holds the values from this bar to `oldestLags` bars back. A range with a lag above 0 is formed one bar
// before its window is full: the oldest value is then one bar younger than on later bars. With a lag of 0 the window
// has to be full, since otherwise the range would reach to a bar that has not come yet.
void CTDReboOp::ConfigureRanges() {
    const bool canBeReady = rangeLength >= 0 && ShortestLag() >= 0;
    for (const ReboValue value : {UpHigh, UpLow, DownHigh, DownLow}) {
        const long long oldest = lags[value] - 1LL + rangeLength;
        oldestLags[value] = static_cast<int>(std::clamp(oldest, -1LL, Never - 1LL));
        readySizes[value] = canBeReady ? oldestLags[value] + (lags[value] > 0 ? 0 : 1) : Never;
    }
    if (AnyUnset({rangeLength, lags[UpHigh], lags[UpLow], lags[DownHigh], lags[DownLow]})) return;
    for (const ReboValue value : {UpHigh, UpLow, DownHigh, DownLow})
        states.Live().ranges.Reconfigure(value, std::ranges::max(oldestLags) + 16LL);
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
    live.ranges.Clear();
    live.bases.Clear();
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

// Without one of the six values the bar leaves the recent values as they are.
CTDReboOp::Levels CTDReboOp::StepLevels(TDReboRecord& live, const BarPrices& prices) {
    const std::array<double, 4> ranges = rangeValues.Step(prices);
    const std::array<double, 2> bases = baseValues.Step(prices);
    if (HasGap(ranges) || HasGap(bases)) return {};
    live.ranges.Push(ranges);
    live.bases.Push(bases);
    const bool ready = IsReady(live);
    const Levels levels = ready ? LevelsOf(live) : Levels{};
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        if (!ready || live.ranges.Size(i) <= oldestLags[i]) live.extremes.places[i].Forget();
    }
    live.ranges.DropBeyond(oldestLags);
    if (live.bases.Size() > lags[UpBase]) live.bases.PopFront();
    return levels;
}

bool CTDReboOp::IsReady(const TDReboRecord& live) const {
    for (std::size_t value = 0; value < readySizes.size(); ++value) {
        if (live.ranges.Size(value) < readySizes[value]) return false;
    }
    return live.bases.Size() > lags[UpBase];
}

// Merges the oldest `rangeLength` bars of two windows into one range. With a single bar there is nothing to merge, and
// every method gives the range of that bar.
double CTDReboOp::RangeOf(TDReboRecord& live, ReboValue highValue, ReboValue lowValue) const {
    constexpr std::greater<> Above;
    constexpr std::less<> Below;
    const OldestValues highs{live.ranges, highValue, rangeLength}, lows{live.ranges, lowValue, rangeLength};
    const auto range = [&](int i) { return highs[i] - lows[i]; };
    const auto extreme = [&](const OldestValues& oldest, auto isBeyond) {
        const auto hasOrder = [](double element) { return element == element; };
        return oldest.Newest(live.extremes.places[oldest.Value()].Follow(oldest, isBeyond, hasOrder));
    };
    switch (rangeLength < 2 ? OldestRange : rangeMethod) {
    case MeanRange:
    case CommonMean: return MeanOfRanges(highs, lows);
    case OuterRange:
    case RootRange: return extreme(highs, Above) - extreme(lows, Below);
    case InnerRange: return extreme(highs, Below) - extreme(lows, Above);
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
    return {ratio * up + live.bases[0][0], live.bases[0][1] - ratio * down};
}

bool CTDReboOp::Shows(int bar, int lastBar) const {
    const long long first = static_cast<long long>(lastBar) - ShortestLag();
    return showHistory != 0 || bar == first || bar == first + 1;
}

}  // namespace sarvane
