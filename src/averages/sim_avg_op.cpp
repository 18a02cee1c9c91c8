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
    // Spares nearly every bar the division in SumTolerance: half the tolerance is not reached.
    constexpr double Half = Epsilon * 2e8;
    if (std::abs(oldest) * Half < std::abs(rest)) return false;
    return std::abs(oldest * Epsilon) > SumTolerance(rest);
}

// Appends a value to the history and returns the mean of the last `wanted` values. `wanted` can differ from bar to bar,
// so there is no running sum: the values are added up on every bar, from the newest to the oldest.
double AppendedMean(HistoryRing& history, double value, int depth, int wanted) {
    PushReplacing(history, value, depth);
    if (wanted < 1 || wanted > history.Size()) return UndefinedValue;
    double sum = 0.0;
    history.NewestFirst<true>(wanted, [&](double earlier) { sum += earlier; });
    return sum / wanted;
}

}  // namespace

STDMETHODIMP CSimAvgOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case Period:
        period = PositiveOrUnset(number);
        states.Live().history.Reconfigure(WindowRoom(period, depth));
        break;
    case MinBars:  // stays unset with an unset period, since UndefinedParam is the lowest int
        minBars = number > 0 && number <= period ? number : UndefinedParam;
        break;
    }
    needed = ValueOr(minBars, period);
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
    return IsUnset(period) ? MeanOfNewest(states.Live(), in, out) : RunningMean(states.Live(), in[Curve], out);
}

[[gnu::noinline]] HRESULT CSimAvgOp::MeanOfNewest(SimAvgState& live, const double* in, double* out) const {
    return CarryForward(live.previous, in, out, [&](double value) {
        return AppendedMean(live.history, value, depth, TruncateToInt(in[Period]));
    });
}

// Calls come last in a path, or any bar would have to save registers for them.
HRESULT CSimAvgOp::RunningMean(SimAvgState& live, double value, double* out) const {
    if (IsUndefined(value)) value = live.previous;
    if (IsUndefined(value)) return AnswerUndefined(1, out);
    HistoryRing& window = live.history;
    int size = window.Size();
    double sum = live.sum;
    if (size == period) {
        const double oldest = window[0];
        sum -= oldest;
        if (IsInaccurate(sum, oldest)) [[unlikely]] return AfterSummingAfresh(live, value, out);
        window.DropOldest();
    } else {
        ++size;
    }
    sum += value;
    live.sum = sum;
    live.previous = value;
    out[0] = size >= needed ? sum / size : UndefinedValue;
    return EndWithPush(window, value);
}

// Drops the oldest value, adds up the others, and takes the bar with this sum.
[[gnu::cold, gnu::noinline]] HRESULT CSimAvgOp::AfterSummingAfresh(SimAvgState& live, double value, double* out) const {
    HistoryRing& window = live.history;
    window.DropOldest();
    live.sum = 0.0;
    window.OldestFirst(window.Size(), [&](double earlier) { live.sum += earlier; });
    return RunningMean(live, value, out);
}

}  // namespace sarvane
