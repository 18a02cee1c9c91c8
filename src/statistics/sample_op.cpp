#include "statistics/sample_op.h"

namespace sarvane {
namespace {

enum Argument : short { Curve, Trigger, SampleBars, TriggerMode, HoldLast };

}  // namespace

STDMETHODIMP CSampleOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case SampleBars: sampleBars = number; break;
    case TriggerMode: triggerMode = number; break;
    case HoldLast: holdLast = number; break;
    }
    return S_OK;
}

STDMETHODIMP CSampleOp::Reset(int, const double*) {
    states.Live() = {};
    return S_OK;
}

// A bar with a missing value is not counted and does not fire, but its trigger is the one that the next bar's is
// compared with.
STDMETHODIMP CSampleOp::Calculate(int, const double* in, int, double* out) noexcept {
    SampleState& live = states.Live();
    out[0] = IsUndefined(in[Curve]) ? UndefinedValue : Sample(live, in[Curve], in[Trigger]);
    live.previousTrigger = in[Trigger];
    return S_OK;
}

bool CSampleOp::Fires(double trigger, double previous) const {
    if (!(trigger >= 0.0)) return false;
    switch (triggerMode) {
    case 0: return trigger != 0.0;
    case 1: return !IsUndefined(previous) && trigger > previous;
    default: return false;
    }
}

double CSampleOp::Sample(SampleState& live, double value, double trigger) const {
    const bool fires = Fires(trigger, live.previousTrigger);
    if (fires) live.barsSinceTrigger = 0.0;
    live.sampling = fires || (live.sampling && live.barsSinceTrigger < sampleBars);
    live.barsSinceTrigger += 1.0;
    if (live.sampling) return live.lastSample = value;
    return holdLast ? live.lastSample : UndefinedValue;
}

}  // namespace sarvane
