#include "statistics/mean_deviation_op.h"

#include "statistics/deviation_sample.h"

namespace sarvane {
namespace {

enum Argument : short { Curve, Period };

}  // namespace

STDMETHODIMP CMeanDeviationOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case Period:
        period = PositiveOrUnset(number);
        states.Live().window.Reconfigure(WindowRoom(period, depth));
        break;
    }
    if (!IsUnset(period)) meanStep.Configure(StepSim, period);
    return S_OK;
}

STDMETHODIMP CMeanDeviationOp::Reset(int count, const double* seed) {
    ResetAll(Steps());
    return states.Live().Reset(count, seed);
}

STDMETHODIMP CMeanDeviationOp::Calculate(int, const double* in, int, double* out) {
    WindowState& live = states.Live();
    return CarryForward(live.previous, in, out, [&](double value) {
        PushReplacing(live.window, value, ValueOr(period, depth));
        const double runningMean = meanStep.Step(value);
        if (IsUnset(period)) {
            const auto sample = DeviationSample::Newest(live.window, in[Period]);
            return sample.MeanDistance(sample.Mean());
        }
        if (live.window.Size() != period) return UndefinedValue;
        return DeviationSample::Whole(live.window).MeanDistance(runningMean);
    });
}

}  // namespace sarvane
