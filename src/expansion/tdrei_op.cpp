#include "expansion/tdrei_op.h"

#include <cmath>

namespace sarvane {
namespace {

enum Argument : short { Bar, Period, Inclusive, PeriodWindow, HighKind, HighLag, LowKind, LowLag, Mode };

constexpr int CancellingMode = 2;
// How many bars back overlaps are looked for.
constexpr int FixedWindow = 8;
constexpr int ShortestWindow = 4;

double Sum(const RingWindow<double>& ring) {
    double sum = 0.0;
    ring.OldestFirst(ring.Size(), [&](double value) { sum += value; });
    return sum;
}

void DropBeyond(int size, HistoryRing& ring) {
    if (ring.Size() > size) ring.PopFront();
}

}  // namespace

STDMETHODIMP CTDREIOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    TDREIRecord& live = states.Live();
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case Period:
        period = PositiveOrUnset(number);
        if (IsUnset(period)) break;
        live.numerators.Reconfigure(period + 3LL);
        live.denominators.Reconfigure(period + 1LL);
        break;
    case Inclusive: inclusive = number; break;
    case PeriodWindow: periodWindow = number; break;
    case HighKind: highKind = number; break;
    case HighLag:
        highLag = number;
        if (!IsUnset(highLag)) live.highValues.Reconfigure(highLag + 1LL);
        break;
    case LowKind: lowKind = number; break;
    case LowLag:
        lowLag = number;
        if (!IsUnset(lowLag)) live.lowValues.Reconfigure(lowLag + 1LL);
        break;
    case Mode: mode = number; break;
    }
    if (!AnyUnset({highLag, lowLag, period})) {
        const long long bars = std::max({FixedWindow, period, highLag, lowLag}) + 1LL;
        for (HistoryRing* ring : {&live.highs, &live.lows, &live.closes}) ring->Reconfigure(bars);
    }
    if (!AnyUnset({highKind, highLag, lowKind, lowLag, period, mode})) {
        values.Configure({highKind, lowKind}, {1, 1}, 1);
    }
    return S_OK;
}

long long CTDREIOp::Lookback() const {
    if (IsUnset(period)) return depth;
    const long long longest = std::max({highLag, lowLag, values.GetLookback()});
    return std::min(std::max(2LL * period + 8, longest) + period, 0xFFFFFFFFLL);
}

STDMETHODIMP CTDREIOp::Reset(int count, const double* seed) {
    TDREIRecord& live = states.Live();
    live.previous = SeedsOf<BarPrices>(count, seed);
    ResetAll(Steps());
    for (HistoryRing* ring : {&live.highs, &live.lows, &live.closes, &live.numerators, &live.denominators,
                              &live.highValues, &live.lowValues})
        ring->Clear();
    return S_OK;
}

STDMETHODIMP CTDREIOp::Calculate(int, const double* in, int, double* out) {
    out[0] = UndefinedValue;
    TDREIRecord& live = states.Live();
    BarPrices bar = ValuesAt<BarPrices>(in);
    if (!FillGaps(bar, live.previous) || IsUnset(period)) return S_OK;
    out[0] = StepIndex(live, bar);
    live.previous = bar;
    return S_OK;
}

// The rings keep what the next bar can look back to.
double CTDREIOp::StepIndex(TDREIRecord& live, const BarPrices& bar) {
    const auto [highValue, lowValue] = values.Step(bar);
    if (IsUndefined(highValue) || IsUndefined(lowValue)) return UndefinedValue;
    live.highValues.Push(highValue);
    live.lowValues.Push(lowValue);
    live.highs.Push(bar[HighPrice]);
    live.lows.Push(bar[LowPrice]);
    live.closes.Push(bar[ClosePrice]);

    const int window = periodWindow == 0 ? FixedWindow : std::max(period, ShortestWindow);
    const int furthest = std::max({highLag, lowLag, window});
    const bool lagsAreUsable = highLag >= 0 && lowLag >= 0;
    const bool hasHistory = lagsAreUsable && live.closes.Size() > furthest && live.highValues.Size() > highLag &&
                            live.lowValues.Size() > lowLag;
    const double index = hasHistory ? Index(live, bar, window) : UndefinedValue;
    for (HistoryRing* ring : {&live.highs, &live.lows, &live.closes}) DropBeyond(furthest, *ring);
    DropBeyond(highLag, live.highValues);
    DropBeyond(lowLag, live.lowValues);
    return index;
}

// The bar's own high and low are compared with earlier values of the steps; its own values of the steps are for later
// bars.
double CTDREIOp::Index(TDREIRecord& live, const BarPrices& bar, int window) const {
    const double up = bar[HighPrice] - live.highValues.Newest(highLag);
    const double down = bar[LowPrice] - live.lowValues.Newest(lowLag);
    const bool counts = Counts(live, bar, window);
    const int size = live.denominators.Size();
    if (mode == CancellingMode && !counts && size >= period) live.newestNumerator = 0.0;
    if (size > 0) live.numerators.Push(live.newestNumerator);
    live.newestNumerator = counts ? down + up : 0.0;
    live.denominators.Push(std::abs(down) + std::abs(up));
    if (size >= period) {
        live.numerators.PopFront();
        live.denominators.PopFront();
    }
    if (live.denominators.Size() != period) return UndefinedValue;
    const double counted = Sum(live.numerators) + live.newestNumerator;
    const double absolute = Sum(live.denominators);
    return absolute > 1e-100 ? counted * 100.0 / absolute : UndefinedValue;
}

// A bar counts if the bar two back overlaps with the closes at the far end of the window, `window` and `window` - 1
// bars back, or if the bar itself overlaps with the two bars that came after those.
bool CTDREIOp::Counts(const TDREIRecord& live, const BarPrices& bar, int window) const {
    const auto neighbours = [](const HistoryRing& ring, int bars) -> Neighbours {
        return {ring.Newest(bars), ring.Newest(bars - 1)};
    };
    const Neighbours closes = neighbours(live.closes, window);
    return Overlaps(live.highs.Newest(2), live.lows.Newest(2), closes, closes) ||
           Overlaps(bar[HighPrice], bar[LowPrice], neighbours(live.highs, window - 2),
                    neighbours(live.lows, window - 2));
}

// Whether the range from `low` to `high` reaches up to one of two lows, and one of two highs reaches down to it.
bool CTDREIOp::Overlaps(double high, double low, const Neighbours& highs, const Neighbours& lows) const {
    const auto reaches = [this](double upper, double lower) { return inclusive != 0 ? upper >= lower : upper > lower; };
    return (reaches(high, lows[0]) || reaches(high, lows[1])) && (reaches(highs[0], low) || reaches(highs[1], low));
}

}  // namespace sarvane
