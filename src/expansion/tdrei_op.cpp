#include "expansion/tdrei_op.h"

#include <cmath>

namespace sarvane {
namespace {

enum Argument : short { Bar, Period, Inclusive, PeriodWindow, HighKind, HighLag, LowKind, LowLag, Mode };

constexpr int CancellingMode = 2;
// How many bars back overlaps are looked for.
constexpr int FixedWindow = 8;
constexpr int ShortestWindow = 4;

// Two doubles that are added to two others by one instruction, each as it would be alone.
using TwoSums [[gnu::vector_size(16)]] = double;

}  // namespace

STDMETHODIMP CTDREIOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    TDREIRecord& live = states.Live();
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case Period:
        period = PositiveOrUnset(number);
        if (IsUnset(period)) break;
        live.movements.Reconfigure(WindowRoom(period, depth));
        break;
    case Inclusive: inclusive = number; break;
    case PeriodWindow: periodWindow = number; break;
    case HighKind: highKind = number; break;
    case HighLag:
        highLag = number;
        if (!IsUnset(highLag)) live.bars.Reconfigure(HighValueWindow, WindowRoom(highLag, depth));
        break;
    case LowKind: lowKind = number; break;
    case LowLag:
        lowLag = number;
        if (!IsUnset(lowLag)) live.bars.Reconfigure(LowValueWindow, WindowRoom(lowLag, depth));
        break;
    case Mode: mode = number; break;
    }
    if (!AnyUnset({highLag, lowLag, period}))
        live.bars.Reconfigure(PriceWindow, WindowRoom(std::max({FixedWindow, period, highLag, lowLag}), depth));
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
    live.bars.Clear();
    live.movements.Clear();
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

double CTDREIOp::StepIndex(TDREIRecord& live, const BarPrices& bar) {
    const auto [highValue, lowValue] = values.Step(bar);
    if (IsUndefined(highValue) || IsUndefined(lowValue)) return UndefinedValue;
    live.bars.Push({bar[HighPrice], bar[LowPrice], bar[ClosePrice], highValue, lowValue});

    const int window = periodWindow == 0 ? FixedWindow : std::max(period, ShortestWindow);
    const int furthest = std::max({highLag, lowLag, window});
    const bool lagsAreUsable = highLag >= 0 && lowLag >= 0;
    const bool hasHistory = lagsAreUsable && live.bars.Size(PriceWindow) > furthest &&
                            live.bars.Size(HighValueWindow) > highLag && live.bars.Size(LowValueWindow) > lowLag;
    const double index = hasHistory ? Index(live, bar, window) : UndefinedValue;
    live.bars.DropBeyond({furthest, highLag, lowLag});
    return index;
}

// The bar's own high and low are compared with earlier values of the steps; its own values of the steps are for later
// bars.
double CTDREIOp::Index(TDREIRecord& live, const BarPrices& bar, int window) const {
    const double up = bar[HighPrice] - live.bars.Newest(highLag).highValue;
    const double down = bar[LowPrice] - live.bars.Newest(lowLag).lowValue;
    const bool counts = Counts(live, bar, window);
    const int size = live.movements.Size();
    if (mode == CancellingMode && !counts && size >= period) live.newestNet = 0.0;
    live.movements.Push({live.newestNet, std::abs(down) + std::abs(up)});
    live.newestNet = counts ? down + up : 0.0;
    if (size >= period) live.movements.PopFront();
    if (live.movements.Size() != period) return UndefinedValue;
    TwoSums sums = {0.0, live.movements[0].absolute};  // the bar before the oldest one is no longer summed
    const auto add = [&](const TDREIMovement& movement) { sums += TwoSums{movement.netBefore, movement.absolute}; };
    live.movements.OldestFirst<true>(period - 1, add, 1);
    const double counted = sums[0] + live.newestNet;
    const double absolute = sums[1];
    return absolute > 1e-100 ? counted * 100.0 / absolute : UndefinedValue;
}

// A bar counts if the bar two back overlaps with the closes at the far end of the window, `window` and `window` - 1
// bars back, or if the bar itself overlaps with the two bars that came after those.
bool CTDREIOp::Counts(const TDREIRecord& live, const BarPrices& bar, int window) const {
    const RowWindows<TDREIBar, 3>& bars = live.bars;
    const TDREIBar &farthest = bars.Newest(window), &second = bars.Newest(window - 1), &third = bars.Newest(window - 2);
    const Neighbours closes = {farthest.close, second.close};
    return Overlaps(bars.Newest(2).high, bars.Newest(2).low, closes, closes) ||
           Overlaps(bar[HighPrice], bar[LowPrice], {third.high, bars.Newest(window - 3).high},
                    {third.low, bars.Newest(window - 3).low});
}

// Whether the range from `low` to `high` reaches up to one of two lows, and one of two highs reaches down to it.
bool CTDREIOp::Overlaps(double high, double low, const Neighbours& highs, const Neighbours& lows) const {
    const auto reaches = [this](double upper, double lower) { return inclusive != 0 ? upper >= lower : upper > lower; };
    return (reaches(high, lows[0]) || reaches(high, lows[1])) && (reaches(highs[0], low) || reaches(highs[1], low));
}

}  // namespace sarvane
