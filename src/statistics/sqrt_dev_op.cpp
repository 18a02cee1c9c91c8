#include "statistics/sqrt_dev_op.h"

#include <algorithm>

namespace sarvane {
namespace {

enum Argument : short { Curve, Reference, Period, MinBars, UseNMinus1 };

}  // namespace

STDMETHODIMP CSqrtDevOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case Period:
        period = PositiveOrUnset(number);
        minBars = ValueOr(minBars, period);
        states.Live().window.Reconfigure(WindowRoom(period, depth));
        break;
    case MinBars: minBars = std::max(number, 1); break;
    case UseNMinus1: useNMinus1 = number != 0; break;
    }
    return S_OK;
}

STDMETHODIMP CSqrtDevOp::Reset(int count, const double* seed) {
    SqrtDevState& live = states.Live();
    live.previous = NthSeed(Curve, count, seed);
    live.previousReference = NthSeed(Reference, count, seed);
    live.window.Clear();
    return S_OK;
}

STDMETHODIMP CSqrtDevOp::Calculate(int, const double* in, int, double* out) {
    SqrtDevState& live = states.Live();
    return CarryForward(live.previous, in, out, [&](double value) {
        if (!IsUndefined(in[Reference])) live.previousReference = in[Reference];
        PushReplacing(live.window, value, ValueOr(period, depth));
        return Deviation(live, in);
    });
}

double CSqrtDevOp::Deviation(const SqrtDevState& live, const double* in) const {
    if (IsUndefined(live.previousReference)) return UndefinedValue;
    if (!IsUnset(period) && live.window.Size() < minBars) return UndefinedValue;
    const auto sample =
        IsUnset(period) ? DeviationSample::Newest(live.window, in[Period]) : DeviationSample::Whole(live.window);
    return sample.RootMeanSquare(live.previousReference, useNMinus1);
}

}  // namespace sarvane
