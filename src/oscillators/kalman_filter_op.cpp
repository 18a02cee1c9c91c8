#include "oscillators/kalman_filter_op.h"

namespace sarvane {
namespace {

enum Argument : short { Curve, ProcessNoise, MeasurementNoise, InitialVariance };

// The model: the level is expected to stay where it is, and is measured as it is.
constexpr double Transition = 1.0;
constexpr double Observation = 1.0;

void Prime(KalmanState& live, double value) { live.estimate = live.lastInput = value; }

// Predicts this bar and corrects the estimate by its measurement. The gain's denominator is not tested: without any
// noise and variance the outputs become NaN.
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

// The seed of the one input is taken whatever the count says.
STDMETHODIMP CKalmanFilterOp::Reset(int, const double* seed) {
    KalmanState& live = states.Live();
    live = {.processNoise = processNoise, .measurementNoise = measurementNoise, .variance = initialVariance};
    const double first = FirstSeed(1, seed);
    if (!IsUndefined(first)) Prime(live, first);
    return S_OK;
}

// A gap is a bar like any other, on which the last input is measured again.
STDMETHODIMP CKalmanFilterOp::Calculate(int, const double* in, int, double* out) noexcept {
    out[0] = out[1] = UndefinedValue;
    KalmanState& live = states.Live();
    const bool primed = !IsUndefined(live.lastInput);
    const double measured = IsUndefined(in[0]) ? live.lastInput : in[0];
    if (IsUndefined(measured)) return S_OK;
    if (primed) {
        Update(live, measured);
    } else {
        Prime(live, measured);
    }
    out[0] = live.estimate;
    out[1] = live.variance;
    return S_OK;
}

}  // namespace sarvane
