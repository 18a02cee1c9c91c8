#include "expansion/de_m_op.h"

namespace sarvane {
namespace {

enum Argument : short { Bar, HighKind, HighLag, LowKind, LowLag, SmoothLength, Mode };

constexpr int ClosesMode = 2;

}  // namespace

STDMETHODIMP CDeMOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    DeMRecord& live = states.Live();
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case HighKind: highKind = number; break;
    case HighLag:
        highLag = number;
        live.highs.Reconfigure(WindowRoom(highLag, depth));
        break;
    case LowKind: lowKind = number; break;
    case LowLag:
        lowLag = number;
        live.lows.Reconfigure(WindowRoom(lowLag, depth));
        break;
    case SmoothLength: smoothLength = PositiveOrUnset(number); break;
    case Mode: mode = number; break;
    }
    const int longerLag = AnyUnset({highLag, lowLag}) ? UndefinedParam : std::max(highLag, lowLag);
    live.closes.Reconfigure(WindowRoom(longerLag, depth));
    if (AnyUnset({highKind, highLag, lowKind, lowLag, smoothLength, mode})) return S_OK;
    values.Configure({highKind, lowKind}, {1, 1}, 1);
    upAverage.Configure(StepSim, smoothLength);
    totalAverage.Configure(StepSim, smoothLength);
    return S_OK;
}

long long CDeMOp::Lookback() const {
    if (IsUnset(smoothLength)) return depth;
    const int longest = std::max({smoothLength, highLag, lowLag, values.GetLookback()});
    return static_cast<long long>(longest) + upAverage.GetLookback();
}

STDMETHODIMP CDeMOp::Reset(int count, const double* seed) {
    DeMRecord& live = states.Live();
    live.previous = SeedsOf<BarPrices>(count, seed);
    ResetAll(Steps());
    live.closes.Clear();
    live.highs.Clear();
    live.lows.Clear();
    return S_OK;
}

STDMETHODIMP CDeMOp::Calculate(int, const double* in, int, double* out) {
    out[0] = UndefinedValue;
    DeMRecord& live = states.Live();
    BarPrices bar = ValuesAt<BarPrices>(in);
    if (!FillGaps(bar, live.previous) || IsUnset(smoothLength)) return S_OK;
    out[0] = UpShare(live, bar);
    live.previous = bar;
    return S_OK;
}

// While a lag reaches back before the first bar there is no movement, but the averages fill from the first bar on.
double CDeMOp::UpShare(DeMRecord& live, const BarPrices& bar) {
    const auto [high, low] = values.Step(bar);
    const bool lagsAreUsable = highLag >= 0 && lowLag >= 0;
    if (IsUndefined(high) || IsUndefined(low) || !lagsAreUsable) return UndefinedValue;
    const Movement moved = mode == ClosesMode ? AgainstCloses(live.closes, high, low, bar[ClosePrice])
                                              : AgainstValues(live.highs, live.lows, high, low);
    const double up = upAverage.Step(moved.up);
    const double total = totalAverage.Step(moved.down + moved.up);
    const bool divides = !IsUndefined(total) && (total < -1e-100 || total > 1e-100);
    return divides ? up * 100.0 / total : UndefinedValue;
}

CDeMOp::Movement CDeMOp::AgainstCloses(HistoryRing& closes, double high, double low, double close) const {
    closes.Push(close);
    Movement moved;
    if (closes.Size() > highLag && high > closes.Newest(highLag)) moved.up = high - closes.Newest(highLag);
    if (high > close) moved.down = high - close;
    if (closes.Size() > lowLag && closes.Newest(lowLag) > low) moved.down = moved.down + closes.Newest(lowLag) - low;
    if (close > low) moved.up = moved.up + close - low;
    if (closes.Size() > std::max(highLag, lowLag)) closes.PopFront();
    return moved;
}

CDeMOp::Movement CDeMOp::AgainstValues(HistoryRing& highs, HistoryRing& lows, double high, double low) const {
    highs.Push(high);
    lows.Push(low);
    Movement moved;
    if (highs.Size() > highLag && lows.Size() > lowLag) {
        if (high > highs.Newest(highLag)) moved.up = high - highs.Newest(highLag);
        if (lows.Newest(lowLag) > low) moved.down = lows.Newest(lowLag) - low;
    }
    if (highs.Size() > highLag) highs.PopFront();
    if (lows.Size() > lowLag) lows.PopFront();
    return moved;
}

}  // namespace sarvane
