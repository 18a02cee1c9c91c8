#include "oscillators/kalman_filter_op.h"

namespace sarvane {
namespace {

enum Argument : short { Curve, ProcessNoise, MeasurementNoise, InitialVariance };

// The model's coefficients: the level is expected not to change from bar to bar, and an input measures the level
// itself.
constexpr double Transition = 1.0;
constexpr double Observation = 1.0;

// Takes a first value as the estimate.
void Start(KalmanState& live, double value) { live.estimate = live.lastInput = value; }

// One bar of the filter: predicts the variance, then moves the estimate towards the measurement by the gain. The gain's
// divisor is not tested: if both noises and the variance are 0, the gain is 0 / 0 and both outputs are NaN from then
// on.
void Update(KalmanState& live, double measured) {
    const double predicted = live.variance * Transition * Transition + live.processNoise;
    const double gain = (Observation * predicted) / (Observation * predicted * Observation + live.measurementNoise);
    live.estimate = (measured - live.estimate * Transition * Observation) * gain + live.estimate;
    live.variance = (1.0 - Observation * gain) * predicted;
    live.lastInput = measured;
}

}  // namespace

STDMETHODIMP CKalmanFilterOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    switch (index) {
    case HistoryDepthIndex: depth = TextToInt(value); break;
    case ProcessNoise: processNoise = TextToDouble(value); break;
    case MeasurementNoise: measurementNoise = TextToDouble(value); break;
    case InitialVariance: initialVariance = TextToDouble(value); break;
    }
    return S_OK;
}

// Always reads seed[0], whatever `count` is.
STDMETHODIMP CKalmanFilterOp::Reset(int, const double* seed) {
    KalmanState& live = states.Live();
    live = {.processNoise = processNoise, .measurementNoise = measurementNoise, .variance = initialVariance};
    const double start = FirstSeed(1, seed);
    if (!IsUndefined(start)) Start(live, start);
    return S_OK;
}

// A missing input is replaced by the last one, and the bar is filtered like any other.
STDMETHODIMP CKalmanFilterOp::Calculate(int, const double* in, int, double* out) noexcept {
    out[0] = out[1] = UndefinedValue;
    KalmanState& live = states.Live();
    const bool started = !IsUndefined(live.lastInput);
    const double measured = IsUndefined(in[0]) ? live.lastInput : in[0];
    if (IsUndefined(measured)) return S_OK;
    if (started) {
        Update(live, measured);
    } else {
        Start(live, measured);
    }
    out[0] = live.estimate;
    out[1] = live.variance;
    return S_OK;
}

}  // namespace sarvane
