#include "averages/sim_avg_op.h"

#include <cmath>

namespace sarvane {
namespace {

enum Argument : short { Curve, Period, MinBars };

constexpr double Epsilon = 0x1p-52;  // distance from 1.0 to the next double

// The rounding error that is tolerated in a sum: a hundred-millionth of it, or Epsilon near zero.
double SumTolerance(double sum) {
    const double size = std::abs(sum);
    return size > 2.4424906541753444e-8 ? size / 1e8 : Epsilon;
}

// Whether a running sum is too inaccurate once its oldest value has been subtracted. Adding a large value rounds the
// sum to that value's precision, and the error is still there in `rest`, what remains after the subtraction.
bool IsInaccurate(double rest, double oldest) {
    const double error = std::abs(oldest * Epsilon);
    // Spares nearly every bar the division in SumTolerance: such an error is well below the tolerance.
    if (error * 2e8 < std::abs(rest)) return false;
    return error > SumTolerance(rest);
}

// Removes the oldest value from a window and returns the sum of the others. If subtracting it from `sum` would leave
// too large an error, the others are added up afresh.
double DropOldest(HistoryRing& window, double sum) {
    const double oldest = window[0];
    window.PopFront();
    const double rest = sum - oldest;
    if (!IsInaccurate(rest, oldest)) return rest;
    double fresh = 0.0;
    window.OldestFirst(window.Size(), [&](double value) { fresh += value; });
    return fresh;
}

// Appends a value to the window of the last `period` values and returns their mean, or UndefinedValue while there are
// fewer than `needed`.
double RunningMean(SimAvgState& live, double value, int period, int needed) {
    HistoryRing& window = live.history;
    double sum = live.sum;
    if (window.Size() == period) sum = DropOldest(window, sum);
    window.Push(value);
    sum += value;
    live.sum = sum;
    const int size = window.Size();
    return size >= needed ? sum / size : UndefinedValue;
}

// Appends a value to the history and returns the mean of the last `wanted` values. `wanted` can differ from bar to bar,
// so there is no running sum: the values are added up on every bar, from the newest to the oldest.
double MeanOfNewest(HistoryRing& history, double value, int depth, int wanted) {
    PushReplacing(history, value, depth);
    if (wanted < 1 || wanted > history.Size()) return UndefinedValue;
    double sum = 0.0;
    history.NewestFirst(wanted, [&](double earlier) { sum += earlier; });
    return sum / wanted;
}

}  // namespace

STDMETHODIMP CSimAvgOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case Period:
        period = PositiveOrUnset(number);
        states.Live().history.Reconfigure(ValueOr(period, depth));
        break;
    case MinBars:  // stays unset with an unset period, since UndefinedParam is the lowest int
        minBars = number > 0 && number <= period ? number : UndefinedParam;
        break;
    }
    return S_OK;
}

STDMETHODIMP CSimAvgOp::Reset(int count, const double* seed) {
    SimAvgState& live = states.Live();
    live.previous = FirstSeed(count, seed);
    live.sum = 0.0;
    live.history.Clear();
    return S_OK;
}

STDMETHODIMP CSimAvgOp::Calculate(int, const double* in, int, double* out) {
    SimAvgState& live = states.Live();
    return CarryForward(live.previous, in, out, [&](double value) {
        return IsUnset(period) ? MeanOfNewest(live.history, value, depth, TruncateToInt(in[Period]))
                               : RunningMean(live, value, period, ValueOr(minBars, period));
    });
}

}  // namespace sarvane
