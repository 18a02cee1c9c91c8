#include "averages/adap_avg_op.h"

#include <cmath>

namespace sarvane {
namespace {

enum Argument : short { Curve, Period, FastPeriod, SlowPeriod };

// The smoothing factor of an exponential average of `period`; UndefinedValue for a period within 1e-100 of -1. A
// missing period from a curve is not treated as missing here: UndefinedValue is a huge negative number, whose factor is
// almost 0.
double SmoothingFactor(double period) {
    const double divisor = period + 1.0;
    return divisor < -1e-100 || divisor > 1e-100 ? 2.0 / divisor : UndefinedValue;
}

// Moves the average towards the newest value. How far depends on the efficiency of the last `window` values: their net
// change divided by the sum of their changes from bar to bar, which is added up from the newest to the oldest. Without
// any change in the window the average stays where it is.
void Adapt(AdapAvgState& live, int window, double fast, double slow) {
    const HistoryRing& history = live.history;
    const double newest = history.Newest();
    double volatility = 0.0;
    double later = newest;
    const auto addChange = [&](double value) {
        volatility += std::abs(value - later);
        later = value;
    };
    history.NewestFirst<true>(window - 1, addChange, 1);
    if (!(volatility > 1e-100)) return;
    const double efficiency = std::abs(newest - history.Newest(window - 1)) / volatility;
    const double factor = efficiency * (fast - slow) + slow;
    live.average = factor * factor * (newest - live.average) + live.average;
}

}  // namespace

// Empty if only some of the parameters are set.
FormattedText CAdapAvgOp::Formula() const {
    const int unset = IsUnset(period) + IsUnset(fastPeriod) + IsUnset(slowPeriod);
    if (unset == 3) return FormatText("AMA( %%s)");
    if (unset > 0) return {};
    return FormatText("AMA( %%s, %d, %d, %d)", period, fastPeriod, slowPeriod);
}

STDMETHODIMP CAdapAvgOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case Period:
        period = number;
        states.Live().history.Reconfigure(WindowRoom(period, depth));
        break;
    case FastPeriod: fastPeriod = number; break;
    case SlowPeriod: slowPeriod = number; break;
    }
    return S_OK;
}

STDMETHODIMP CAdapAvgOp::Reset(int count, const double* seed) {
    AdapAvgState& live = states.Live();
    live.previous = FirstSeed(count, seed);
    live.history.Clear();
    live.barCount = 0;
    live.average = UndefinedValue;
    return S_OK;
}

STDMETHODIMP CAdapAvgOp::Calculate(int, const double* in, int, double* out) {
    AdapAvgState& live = states.Live();
    out[0] = UndefinedValue;
    ++live.barCount;  // counts every bar, also one that is skipped below
    const double value = IsUndefined(in[Curve]) ? live.previous : in[Curve];
    const int window = IsConstant(period) ? period : TruncateToInt(in[Period]);
    const double fast = SmoothingFactor(IsConstant(fastPeriod) ? fastPeriod : in[FastPeriod]);
    const double slow = SmoothingFactor(IsConstant(slowPeriod) ? slowPeriod : in[SlowPeriod]);
    if (IsUndefined(value) || IsUnset(window) || IsUndefined(fast) || IsUndefined(slow)) return S_OK;

    PushWithin(live.history, value, IsConstant(period) ? period : depth);
    live.previous = value;
    const int size = live.history.Size();
    if (IsConstant(period) && size != period) return S_OK;
    if (IsUndefined(live.average)) live.average = value;
    if (window >= 1 && window <= size) Adapt(live, window, fast, slow);
    if (live.barCount >= depth) {
        out[0] = live.average;
        --live.barCount;
    }
    return S_OK;
}

}  // namespace sarvane
