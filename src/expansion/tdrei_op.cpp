#include "expansion/tdrei_op.h"

#include <cmath>

namespace sarvane {
namespace {

enum Argument : short { Bar, Period, Inclusive, PeriodWindow, HighKind, HighLag, LowKind, LowLag, Mode };

constexpr int CancellingMode = 2;
constexpr int FixedWindow = 8;
constexpr int ShortestWindow = 4;  // overlaps are looked for up to three bars inside its far end

double Sum(const RingWindow<double>& ring) {
    double sum = 0.0;
    for (int i = 0; i < ring.Size(); ++i) sum += ring[i];
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
        highStep.Configure(highKind, 1, 1);
        lowStep.Configure(lowKind, 1, 1);
    }
    return S_OK;
}

STDMETHODIMP CTDREIOp::GetLookback(uint* bars, TextSlot*) {
    if (IsUnset(period)) return Answer(bars, depth);
    const long long longest = std::max({highLag, lowLag, LongestLookback(Steps())});
    const long long wanted = std::max(2LL * period + 8, longest) + period;
    return Answer(bars, std::min(wanted, 0xFFFFFFFFLL));
}

STDMETHODIMP CTDREIOp::Reset(int count, const double* seed) {
    TDREIRecord& live = states.Live();
    live.previous = SeedsOf<BarPrices>(count, seed);
    ResetAll(Steps());
    for (HistoryRing* ring :
         {&live.highs, &live.lows, &live.closes, &live.denominators, &live.highValues, &live.lowValues})
        ring->Clear();
    live.numerators.Clear();
    return S_OK;
}

STDMETHODIMP CTDREIOp::Calculate(int, const double* in, int, double* out) {
    out[0] = UndefinedValue;
    TDREIRecord& live = states.Live();
    const BarPrices bar = WithGapsFilled(live.previous, in);
    if (HasGap(bar) || IsUnset(period)) return S_OK;
    out[0] = TakeIn(live, bar);
    live.previous = bar;
    return S_OK;
}

double CTDREIOp::TakeIn(TDREIRecord& live, const BarPrices& bar) {
    const double highValue = highStep.Step(bar);
    const double lowValue = lowStep.Step(bar);
    if (IsUndefined(highValue) || IsUndefined(lowValue)) return UndefinedValue;
    live.highValues.Push(highValue);
    live.lowValues.Push(lowValue);
    live.highs.Push(bar[HighPrice]);
    live.lows.Push(bar[LowPrice]);
    live.closes.Push(bar[ClosePrice]);

    const int window = periodWindow == 0 ? FixedWindow : std::max(period, ShortestWindow);
    const int furthest = std::max({highLag, lowLag, window});
    const bool lagsReachBack = highLag >= 0 && lowLag >= 0;
    const bool reaches = lagsReachBack && live.closes.Size() > furthest && live.highValues.Size() > highLag &&
                         live.lowValues.Size() > lowLag;
    const double index = reaches ? Index(live, bar, window) : UndefinedValue;
    for (HistoryRing* ring : {&live.highs, &live.lows, &live.closes}) DropBeyond(furthest, *ring);
    DropBeyond(highLag, live.highValues);
    DropBeyond(lowLag, live.lowValues);
    return index;
}

// The steps' values enter only as what the bar's own high and low are compared with.
double CTDREIOp::Index(TDREIRecord& live, const BarPrices& bar, int window) const {
    const double up = bar[HighPrice] - live.highValues.Newest(highLag);
    const double down = bar[LowPrice] - live.lowValues.Newest(lowLag);
    const bool counts = Overlaps(live, bar, window);
    if (mode == CancellingMode && !counts && live.numerators.Size() >= period) live.numerators.Newest() = 0.0;
    live.numerators.Push(counts ? down + up : 0.0);
    live.denominators.Push(std::abs(down) + std::abs(up));
    if (live.numerators.Size() > period) {
        live.numerators.PopFront();
        live.denominators.PopFront();
    }
    if (live.numerators.Size() != period) return UndefinedValue;
    const double counted = Sum(live.numerators);
    const double absolute = Sum(live.denominators);
    return absolute > 1e-100 ? counted * 100.0 / absolute : UndefinedValue;
}

// Either the bar two back overlaps the closes at the far end of the window, or this bar overlaps the range of the two
// bars two and three inside of that end.
bool CTDREIOp::Overlaps(const TDREIRecord& live, const BarPrices& bar, int window) const {
    const auto reaches = [this](double a, double b) { return inclusive != 0 ? a >= b : a > b; };
    const double high = live.highs.Newest(2), low = live.lows.Newest(2);
    const double close1 = live.closes.Newest(window), close2 = live.closes.Newest(window - 1);
    if ((reaches(high, close1) || reaches(high, close2)) && (reaches(close1, low) || reaches(close2, low))) return true;
    const int near = window - 2, nearer = window - 3;
    return (reaches(bar[HighPrice], live.lows.Newest(near)) || reaches(bar[HighPrice], live.lows.Newest(nearer))) &&
           (reaches(live.highs.Newest(near), bar[LowPrice]) || reaches(live.highs.Newest(nearer), bar[LowPrice]));
}

}  // namespace sarvane
