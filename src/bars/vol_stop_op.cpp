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

// In any case. `name` is all letters.
bool Spells(std::u16string_view text, std::string_view name) {
    constexpr int CaseBit = 0x20;
    return std::ranges::equal(text, name, [](char16_t a, char b) { return (a | CaseBit) == (b | CaseBit); });
}

// The bar with the gap to the close before, if there is one.
double TrueHigh(const BarPrices& bar, double closeBefore) {
    return IsUndefined(closeBefore) ? bar[HighPrice] : Greater(bar[HighPrice], closeBefore);
}
double TrueLow(const BarPrices& bar, double closeBefore) {
    return IsUndefined(closeBefore) ? bar[LowPrice] : Lesser(bar[LowPrice], closeBefore);
}

void KeepHighest(double& highest, double value) {
    if (IsUndefined(highest) || value > highest) highest = value;
}
void KeepLowest(double& lowest, double value) {
    if (IsUndefined(lowest) || value < lowest) lowest = value;
}

// A stop that was off starts afresh from the price of this bar.
void ForgetIfOff(Stop& stop) {
    if (!stop.on) stop.extreme = stop.level = stop.tightest = UndefinedValue;
}

// A broken stop lets the other one in, and both show on this bar.
void SwitchOn(VolStopRecord& live, bool signal, bool longHit, bool shortHit) {
    if (signal || longHit) live.shortStop.on = true;
    if (signal || shortHit) live.longStop.on = true;
}

// Off goes what was broken. With both broken and no signal, nothing says which of them to keep.
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

// A host finds slot 1 there right from the start.
STDMETHODIMP CVolStopOp::ResetBar(int, int, int count, const double* first) {
    states.StartOver(2);
    states.Live().previous = SeedsOf<BarPrices>(count, first);
    return S_OK;
}

STDMETHODIMP CVolStopOp::CalculateBar(int, int, const double* in, int, double* out) {
    std::fill_n(out, 3, UndefinedValue);
    VolStopRecord& live = states.Live();
    const bool signal = !IsUndefined(in[SignalInput]) && in[SignalInput] != 0.0;
    // A bar stays together: with one price missing, all four repeat the bar before.
    BarPrices bar;
    std::copy_n(in, bar.size(), bar.begin());
    if (HasGap(bar)) bar = live.previous;
    if (HasGap(bar)) return S_OK;
    if (CanFormStops()) StepStops(live, bar, signal, out);
    live.previous = bar;
    return S_OK;
}

// With a lag below 0, or a price step to round to that isn't above 0, bars pass by as with a period below 1.
bool CVolStopOp::CanFormStops() const { return period >= 1 && lag >= 0 && (!roundToStep || priceStep > 0.0); }

void CVolStopOp::StepStops(VolStopRecord& live, const BarPrices& bar, bool signal, double* out) const {
    if (!live.started) {
        live.longStop.on = live.shortStop.on = !signal;
        live.started = true;
    }
    const double volatility = Volatility(live, bar);
    live.prices.Push(ChosenPrice(bar, live.closeBefore));
    HangStops(live, TakeLagged(live.prices), volatility);

    const double longStop = ratchet ? live.longStop.tightest : live.longStop.level;
    const double shortStop = ratchet ? live.shortStop.tightest : live.shortStop.level;
    const bool longHit = !IsUndefined(longStop) && Reaches(longStop, testClose ? bar[ClosePrice] : bar[LowPrice]);
    const bool shortHit = !IsUndefined(shortStop) && Reaches(testClose ? bar[ClosePrice] : bar[HighPrice], shortStop);
    SwitchOn(live, signal, longHit, shortHit);
    if (live.shortStop.on) out[0] = shortStop;
    if (live.longStop.on) out[1] = longStop;
    out[2] = live.longActive ? longStop : shortStop;
    SwitchOff(live, signal, longHit, shortHit);
    live.closeBefore = bar[ClosePrice];
}

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
    return TakeLagged(live.volatilities);
}

void CVolStopOp::AddToSimple(VolStopRecord& live, double range) const {
    live.sum += range;
    if (live.ranges.Size() != period) return;
    const double volatility = live.sum / period * multiplier;
    live.sum -= live.ranges[0];
    Emit(live, volatility);
}

// Starts one bar after the simple average, from the mean of the ranges before that bar.
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

// The element `lag` places before the newest. The oldest goes then: no later bar looks back that far.
double CVolStopOp::TakeLagged(HistoryRing& ring) const {
    if (ring.Size() <= lag) return UndefinedValue;
    const double lagged = ring.Newest(lag);
    ring.PopFront();
    return lagged;
}

void CVolStopOp::HangStops(VolStopRecord& live, double price, double volatility) const {
    ForgetIfOff(live.longStop);
    ForgetIfOff(live.shortStop);
    if (!IsUndefined(price)) {
        KeepHighest(live.longStop.extreme, price);
        KeepLowest(live.shortStop.extreme, price);
    }
    if (IsUndefined(volatility)) return;
    const double top = fromExtreme ? live.longStop.extreme : price;
    if (!IsUndefined(top)) {
        const double level = top - volatility;
        live.longStop.level = roundToStep ? std::floor(level / priceStep) * priceStep : level;
        KeepHighest(live.longStop.tightest, live.longStop.level);
    }
    const double bottom = fromExtreme ? live.shortStop.extreme : price;
    if (!IsUndefined(bottom)) {
        const double level = bottom + volatility;
        live.shortStop.level = roundToStep ? std::ceil(level / priceStep) * priceStep : level;
        KeepLowest(live.shortStop.tightest, live.shortStop.level);
    }
}

// Whether a rising `upper` breaks `lower`: it touches it, or passes it where a touch doesn't count.
bool CVolStopOp::Reaches(double upper, double lower) const { return touchCounts ? upper >= lower : upper > lower; }

}  // namespace sarvane
