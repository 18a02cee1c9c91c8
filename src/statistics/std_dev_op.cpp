#include "statistics/std_dev_op.h"

namespace sarvane {
namespace {

enum Argument : short { Curve, Period, UseNMinus1 };

}  // namespace

STDMETHODIMP CStdDevOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case Period:
        period = PositiveOrUnset(number);
        states.Live().window.Reconfigure(WindowRoom(period, depth));
        break;
    case UseNMinus1: useNMinus1 = number != 0; break;
    }
    return S_OK;
}

STDMETHODIMP CStdDevOp::Calculate(int, const double* in, int, double* out) {
    WindowState& live = states.Live();
    return CarryForward(live.previous, in, out, [&](double value) {
        PushWithin(live.window, value, ValueOr(period, depth));
        if (!IsUnset(period) && live.window.Size() != period) return UndefinedValue;
        const auto sample =
            IsUnset(period) ? DeviationSample::Newest(live.window, in[Period]) : DeviationSample::Whole(live.window);
        return sample.RootMeanSquare(sample.Mean(), useNMinus1);
    });
}

}  // namespace sarvane
