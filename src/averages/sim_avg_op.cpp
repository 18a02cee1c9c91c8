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

// A value that dwarfs what it leaves behind takes the low digits of the sum with it. Only adding up the rest brings
// them back.
void DropOldest(SimAvgState& live) {
    const double oldest = live.history[0];
    live.history.PopFront();
    live.sum -= oldest;
    if (std::abs(oldest * Epsilon) > SumTolerance(live.sum)) {
        live.sum = 0.0;
        for (int i = 0; i < live.history.Size(); ++i) live.sum += live.history[i];
    }
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
        return IsUnset(period) ? MeanOfNewest(live.history, value, TruncateToInt(in[Period]))
                               : RunningMean(live, value);
    });
}

double CSimAvgOp::RunningMean(SimAvgState& live, double value) const {
    if (live.history.Size() == period) DropOldest(live);
    live.history.Push(value);
    live.sum += value;
    const int size = live.history.Size();
    return size >= ValueOr(minBars, period) ? live.sum / size : UndefinedValue;
}

// The period may differ on every bar, so the window is summed afresh, newest value first.
double CSimAvgOp::MeanOfNewest(HistoryRing& history, double value, int wanted) const {
    if (history.Size() == depth) history.PopFront();
    history.Push(value);
    if (wanted < 1 || wanted > history.Size()) return UndefinedValue;
    double sum = 0.0;
    for (int bars = 0; bars < wanted; ++bars) sum += history.Newest(bars);
    return sum / wanted;
}

}  // namespace sarvane
