#include "averages/sim_avg_op.h"

#include <cmath>

namespace sarvane {
namespace {

enum Argument : short { Curve, Period, MinBars };

constexpr double Epsilon = 0x1p-52;  // distance from 1.0 to the next double

// How much error a sum may carry: in proportion to the sum, with a floor for sums near zero.
double SumTolerance(double sum) {
    const double size = std::abs(sum);
    return size > 2.4424906541753444e-8 ? size / 1e8 : Epsilon;
}

// Whether a value dwarfed what it left behind, and so took the low digits of the sum with it.
bool DigitsLost(double oldest, double rest) {
    const double error = std::abs(oldest * Epsilon);
    if (error * 2e8 < std::abs(rest))
        return false;  // half of any tolerance at most; spares nearly every bar a division
    return error > SumTolerance(rest);
}

// Drops the oldest value from a window and gives the sum of the others. Only adding them up brings lost digits back.
double DropOldest(HistoryRing& window, double sum) {
    const double oldest = window[0];
    window.PopFront();
    const double rest = sum - oldest;
    if (!DigitsLost(oldest, rest)) return rest;
    double fresh = 0.0;
    for (int i = 0; i < window.Size(); ++i) fresh += window[i];
    return fresh;
}

// The mean of a window of `period` values, from `needed` values on.
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

// The number of values wanted may differ on every bar, so they are summed afresh, newest first.
double MeanOfNewest(HistoryRing& history, double value, int depth, int wanted) {
    PushReplacing(history, value, depth);
    if (wanted < 1 || wanted > history.Size()) return UndefinedValue;
    double sum = 0.0;
    for (int bars = 0; bars < wanted; ++bars) sum += history.Newest(bars);
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
    case MinBars:  // an unset period lies below every number, so nothing fits into it
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
