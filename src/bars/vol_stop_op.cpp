#include "bars/vol_stop_op.h"

#include <algorithm>
#include <cmath>

namespace sarvane {
namespace {

enum Argument : short {
    BarCurve,
    Multiplier,
    Period,
    SignalCurve,
    UseTrueRange,
    NoRatchet,
    FromExtreme,
    Average,
    TestClose,
    Lag,
    PriceKind,
    RoundToStep,
    TouchCounts,
};
constexpr int SignalInput = ClosePrice + 1;

// Whether both are the same, in upper or lower case. `name` consists of letters only.
bool Spells(std::u16string_view text, std::string_view name) {
    constexpr int CaseBit = 0x20;
    return std::ranges::equal(text, name, [](char16_t a, char b) { return (a | CaseBit) == (b | CaseBit); });
}

// High and low of a bar that is extended to the close before. The first bar has no close before.
double TrueHigh(const BarPrices& bar, double closeBefore) {
    return IsUndefined(closeBefore) ? bar[HighPrice] : Greater(bar[HighPrice], closeBefore);
}
double TrueLow(const BarPrices& bar, double closeBefore) {
    return IsUndefined(closeBefore) ? bar[LowPrice] : Lesser(bar[LowPrice], closeBefore);
}

// The long stop lies below price and tightens upward.
struct LongSide {
    static bool IsBeyond(double a, double b) { return a > b; }
    static double LevelFrom(double price, double volatility) { return price - volatility; }
    static double RoundToStep(double level, double step) { return std::floor(level / step) * step; }
};

// The short stop lies above price and tightens downward.
struct ShortSide {
    static bool IsBeyond(double a, double b) { return a < b; }
    static double LevelFrom(double price, double volatility) { return price + volatility; }
    static double RoundToStep(double level, double step) { return std::ceil(level / step) * step; }
};

template <class Side>
void KeepExtreme(double& extreme, double value) {
    if (IsUndefined(extreme) || Side::IsBeyond(value, extreme)) extreme = value;
}

// A signal switches both stops on, and a broken stop the other one. The broken one goes off only afterwards, in
// SwitchOff, so that this bar still shows it.
void SwitchOn(VolStopRecord& live, bool signal, bool longHit, bool shortHit) {
    if (signal || longHit) live.shortStop.on = true;
    if (signal || shortHit) live.longStop.on = true;
}

// Switches off what was broken. If both stops were broken without a signal, both stay on: nothing says which to keep.
void SwitchOff(VolStopRecord& live, bool signal, bool longHit, bool shortHit) {
    if (signal) {
        if (longHit) live.longStop.on = false;
        if (shortHit) live.shortStop.on = false;
    } else if (longHit != shortHit) {
        (longHit ? live.longStop : live.shortStop).on = false;
        live.longActive = shortHit;
    }
}

}  // namespace

STDMETHODIMP CVolStopOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    VolStopRecord& live = states.Live();
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case Multiplier: multiplier = TextToDouble(value); break;
    case Period:
        period = number;
        live.closeBefore = UndefinedValue;
        live.ranges.Reconfigure(WindowRoom(number, depth));
        live.volatilities.Reconfigure(WindowRoom(number, depth));
        break;
    case UseTrueRange: useTrueRange = number; break;
    case NoRatchet:
        noRatchet = number;
        ratchet = noRatchet == 0;
        break;
    case FromExtreme: fromExtreme = number; break;
    case Average:
        for (const AverageKind kind : {Simple, Smoothed, Exponential}) {
            if (Spells(TextOrEmpty(value), Averages[kind].text)) averageKind = kind;
        }
        break;
    case TestClose: testClose = number; break;
    case Lag:
        lag = number;
        live.prices.Reconfigure(WindowRoom(number, depth));
        break;
    case PriceKind: priceKind = number; break;
    case RoundToStep: roundToStep = number != 0; break;
    case TouchCounts: touchCounts = number != 0; break;
    }
    return S_OK;
}

STDMETHODIMP CVolStopOp::SetPriceStep(int count, const double* values) {
    priceStep = count >= 2 && values ? values[0] : 1.0;
    return S_OK;
}

// A run starts without the snapshots of the run before, but with a fresh record in slot 1.
STDMETHODIMP CVolStopOp::ResetBar(int, int, int count, const double* seed) {
    states.StartOver(2);
    states.Live().previous = SeedsOf<BarPrices>(count, seed);
    return S_OK;
}

STDMETHODIMP CVolStopOp::CalculateBar(int, int, const double* in, int, double* out) {
    std::fill_n(out, 3, UndefinedValue);
    VolStopRecord& live = states.Live();
    const bool signal = !IsUndefined(in[SignalInput]) && in[SignalInput] != 0.0;
    // If one price is missing all four repeat the bar before.
    BarPrices bar = ValuesAt<BarPrices>(in);
    if (!RepeatIfGap(bar, live.previous)) return S_OK;
    if (CanFormStops()) StepStops(live, bar, signal, out);
    live.previous = bar;
    return S_OK;
}

// Otherwise a bar changes nothing but the previous prices.
bool CVolStopOp::CanFormStops() const { return period >= 1 && lag >= 0 && (!roundToStep || priceStep > 0.0); }

void CVolStopOp::StepStops(VolStopRecord& live, const BarPrices& bar, bool signal, double* out) const {
    if (!live.started) {
        live.longStop.on = live.shortStop.on = !signal;
        live.started = true;
    }
    const double volatility = Volatility(live, bar);
    live.prices.Push(ChosenPrice(bar, live.closeBefore));
    const double price = PopDelayed(live.prices);
    Hang<LongSide>(live.longStop, price, volatility);
    Hang<ShortSide>(live.shortStop, price, volatility);

    const double longStop = LevelInUse(live.longStop);
    const double shortStop = LevelInUse(live.shortStop);
    const bool longHit = !IsUndefined(longStop) && Breaks(longStop, testClose ? bar[ClosePrice] : bar[LowPrice]);
    const bool shortHit = !IsUndefined(shortStop) && Breaks(testClose ? bar[ClosePrice] : bar[HighPrice], shortStop);
    SwitchOn(live, signal, longHit, shortHit);
    if (live.shortStop.on) out[0] = shortStop;
    if (live.longStop.on) out[1] = longStop;
    out[2] = live.longActive ? longStop : shortStop;
    SwitchOff(live, signal, longHit, shortHit);
    live.closeBefore = bar[ClosePrice];
}

// The delayed volatility, UndefinedValue until there is one.
double CVolStopOp::Volatility(VolStopRecord& live, const BarPrices& bar) const {
    const double high = useTrueRange ? TrueHigh(bar, live.closeBefore) : bar[HighPrice];
    const double low = useTrueRange ? TrueLow(bar, live.closeBefore) : bar[LowPrice];
    const double range = high - low;
    live.ranges.Push(range);
    switch (averageKind) {
    case Simple: AddToSimple(live, range); break;
    case Smoothed: AddToSmoothed(live, range); break;
    case Exponential: AddToExponential(live, range); break;
    }
    return PopDelayed(live.volatilities);
}

void CVolStopOp::AddToSimple(VolStopRecord& live, double range) const {
    live.sum += range;
    if (live.ranges.Size() != period) return;
    const double volatility = live.sum / period * multiplier;
    live.sum -= live.ranges[0];
    Emit(live, volatility);
}

// Its first value comes on bar `period` + 1 and is the mean of the ranges before that bar.
void CVolStopOp::AddToSmoothed(VolStopRecord& live, double range) const {
    if (live.ranges.Size() <= period) {
        live.sum += range;
        return;
    }
    live.average = IsUndefined(live.average) ? live.sum / period : (range + (period - 1.0) * live.average) / period;
    Emit(live, live.average * multiplier);
}

void CVolStopOp::AddToExponential(VolStopRecord& live, double range) const {
    const double ratio = period > 1 ? 2.0 / (period + 1.0) : period;
    live.average = IsUndefined(live.average) ? range : (range - live.average) * ratio + live.average;
    Emit(live, live.average * multiplier);
}

void CVolStopOp::Emit(VolStopRecord& live, double volatility) const {
    live.volatilities.Push(volatility);
    live.ranges.PopFront();
}

double CVolStopOp::ChosenPrice(const BarPrices& bar, double closeBefore) const {
    switch (priceKind) {
    case 0: return bar[OpenPrice];
    case 1: return bar[HighPrice];
    case 2: return TrueHigh(bar, closeBefore);
    case 3: return bar[LowPrice];
    case 4: return TrueLow(bar, closeBefore);
    case 5: return bar[ClosePrice];
    case 6: return (bar[LowPrice] + bar[HighPrice]) * 0.5;
    case 7: return (bar[LowPrice] + bar[HighPrice] + bar[ClosePrice]) / 3;
    case 8: return (bar[HighPrice] + bar[OpenPrice] + bar[LowPrice] + bar[ClosePrice]) * 0.25;
    default: return UndefinedValue;
    }
}

// The element that was pushed `lag` bars ago, UndefinedValue if there is none. Then the oldest element goes, since no
// later bar looks back that far.
double CVolStopOp::PopDelayed(HistoryRing& ring) const {
    if (ring.Size() <= lag) return UndefinedValue;
    const double delayed = ring.Newest(lag);
    ring.PopFront();
    return delayed;
}

// Hangs a stop from the price, or from the extreme of the prices since it is on. A stop that was off until now starts
// over. Price and volatility are both delayed, and may both be missing on the first bars.
template <class Side>
void CVolStopOp::Hang(Stop& stop, double price, double volatility) const {
    if (!stop.on) stop = Stop();
    if (!IsUndefined(price)) KeepExtreme<Side>(stop.extreme, price);
    const double base = fromExtreme ? stop.extreme : price;
    if (IsUndefined(base) || IsUndefined(volatility)) return;
    const double level = Side::LevelFrom(base, volatility);
    stop.level = roundToStep ? Side::RoundToStep(level, priceStep) : level;
    KeepExtreme<Side>(stop.tightest, stop.level);
}

// Whether a price and a stop have met: `upper` lies above `lower`, or equals it if a touch counts.
bool CVolStopOp::Breaks(double upper, double lower) const { return touchCounts ? upper >= lower : upper > lower; }

}  // namespace sarvane
