#include "oscillators/cg_osc_op.h"

namespace sarvane {
namespace {

enum Argument : short { Curve, Period };

}  // namespace

STDMETHODIMP CCGOscOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case Period:
        period = PositiveOrUnset(number);
        states.Live().window.Reconfigure(WindowRoom(period, 0));
        break;
    }
    return S_OK;
}

STDMETHODIMP CCGOscOp::Calculate(int, const double* in, int, double* out) {
    WindowState& live = states.Live();
    return CarryForward(live.previous, in, out, [&](double value) {
        return IsUnset(period) ? UndefinedValue : CentreOfGravity(live.window, value);
    });
}

// Appends a value to the window and returns -(1 * x[1] + 2 * x[2] + ...) / (x[1] + x[2] + ...), where x[1] is the
// newest value. UndefinedValue while the window is not full, and if the divisor is 0 but the weighted sum is not.
double CCGOscOp::CentreOfGravity(HistoryRing& window, double value) const {
    PushReplacing(window, value, period);
    if (window.Size() != period) return UndefinedValue;
    double weighted = 0.0;
    double sum = 0.0;
    double position = 0.0;
    window.NewestFirst(period, [&](double x) {
        position += 1.0;
        sum += x;
        weighted += position * x;
    });
    if (weighted == 0.0) return 0.0;
    return sum == 0.0 ? UndefinedValue : -weighted / sum;
}

}  // namespace sarvane
