#include "averages/trix_op.h"

#include <cmath>

namespace sarvane {
namespace {

enum Argument : short { Curve, Period };

// A negative value mirrors its magnitude.
double SignedLogarithm(double value) {
    const double logarithm = std::log(std::abs(value));
    return value < 0.0 ? -logarithm : logarithm;
}

// Every average starts where the first logarithm is.
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
    if (length < 1.0) return S_OK;  // a missing one is below 1, too
    if (IsBound()) live.previousPeriod = length;

    const double factor = 2.0 / (length + 1.0);
    const double logarithm = SignedLogarithm(value);
    StartOnce(live, logarithm);
    live.ema1 = Smoothed(live.ema1, logarithm, factor);
    live.ema2 = Smoothed(live.ema2, live.ema1, factor);
    live.ema3 = Smoothed(live.ema3, live.ema2, factor);
    if (live.barCount >= depth && live.validCount > period) {  // a bound period is below every count
        out[0] = (live.ema3 - live.lastEma3) * 1000000.0;
        --live.barCount;
        --live.validCount;
    }
    live.lastEma3 = live.ema3;
    return S_OK;
}

// A missing period repeats the previous one.
double CTrixOp::PeriodInUse(const TrixState& live, const double* in) const {
    if (!IsBound()) return period;
    return IsUndefined(in[Period]) ? live.previousPeriod : in[Period];
}

}  // namespace sarvane
