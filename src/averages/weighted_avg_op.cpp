#include "averages/weighted_avg_op.h"

namespace sarvane {
namespace {

enum Argument : short { Curve, Period };

// The mean of the newest `period` values with the weights `period` (the newest) down to 1, added up from the newest to
// the oldest. The sum of the weights is a 32-bit integer: from a period of 65536 on it overflows and can be negative.
// It is 0 for no period.
double WeightedMean(const HistoryRing& history, int period) {
    double total = 0.0;
    double weight = period;
    history.NewestFirst(period, [&](double value) {
        total += weight * value;
        weight -= 1.0;
    });
    const auto sum = static_cast<uint>(static_cast<long long>(period) * (period + 1LL) / 2);
    return total / static_cast<int>(sum);
}

}  // namespace

STDMETHODIMP CWeightedAvgOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case Period:
        period = PositiveOrUnset(number);
        states.Live().window.Reconfigure(WindowRoom(period, depth));
        break;
    }
    return S_OK;
}

STDMETHODIMP CWeightedAvgOp::Calculate(int, const double* in, int, double* out) {
    WindowState& live = states.Live();
    return CarryForward(live.previous, in, out, [&](double value) {
        PushWithin(live.window, value, ValueOr(period, depth));
        const int size = live.window.Size();
        const int wanted = IsUnset(period) ? TruncateToInt(in[Period]) : period;
        const bool fits = IsUnset(period) ? wanted >= 1 && wanted <= size : wanted == size;
        return fits ? WeightedMean(live.window, wanted) : UndefinedValue;
    });
}

}  // namespace sarvane
