#include "averages/trix_op.h"

#include "frame/logarithm.h"

#include <cmath>

namespace sarvane {
namespace {

enum Argument : short { Curve, Period };

// The logarithm of the value's magnitude, with the opposite sign if the value is negative.
double SignedLogarithm(double value) {
    const double logarithm = Logarithm(std::abs(value));
    return value < 0.0 ? -logarithm : logarithm;
}

// Starts all averages with the first logarithm.
void StartOnce(TrixState& live, double logarithm) {
    const bool started =
        !IsUndefined(live.ema1) || !IsUndefined(live.ema2) || !IsUndefined(live.ema3) || !IsUndefined(live.lastEma3);
    if (!started) live.ema1 = live.ema2 = live.ema3 = live.lastEma3 = logarithm;
}

double Smoothed(double average, double value, double factor) { return (value - average) * factor + average; }

}  // namespace

STDMETHODIMP CTrixOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case Period: period = number; break;
    }
    return S_OK;
}

STDMETHODIMP CTrixOp::Reset(int count, const double* seed) {
    states.Live() = {.previous = FirstSeed(count, seed)};
    return S_OK;
}

STDMETHODIMP CTrixOp::Calculate(int, const double* in, int, double* out) noexcept {
    TrixState& live = states.Live();
    out[0] = UndefinedValue;
    ++live.barCount;
    const double value = IsUndefined(in[Curve]) ? live.previous : in[Curve];
    if (IsUndefined(value)) return S_OK;
    ++live.validCount;
    if (value == 0.0) return S_OK;  // it has no logarithm
    live.previous = value;
    const double length = PeriodInUse(live, in);
    if (length < 1.0) return S_OK;  // so is UndefinedValue
    if (IsBound()) live.previousPeriod = length;

    const double factor = 2.0 / (length + 1.0);
    const double logarithm = SignedLogarithm(value);
    StartOnce(live, logarithm);
    live.ema1 = Smoothed(live.ema1, logarithm, factor);
    live.ema2 = Smoothed(live.ema2, live.ema1, factor);
    live.ema3 = Smoothed(live.ema3, live.ema2, factor);
    if (live.barCount >= depth && live.validCount > period) {  // true with a bound period, which is below 1
        out[0] = (live.ema3 - live.lastEma3) * 1000000.0;
        --live.barCount;
        --live.validCount;
    }
    live.lastEma3 = live.ema3;
    return S_OK;
}

// The period for this bar. A missing one from a curve repeats the last one that was used; UndefinedValue if there is
// none.
double CTrixOp::PeriodInUse(const TrixState& live, const double* in) const {
    if (!IsBound()) return period;
    return IsUndefined(in[Period]) ? live.previousPeriod : in[Period];
}

}  // namespace sarvane
