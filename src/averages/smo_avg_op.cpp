#include "averages/smo_avg_op.h"

#include <algorithm>

namespace sarvane {
namespace {

enum Argument : short { Curve, Period };

// The average after it has moved 1 / `period` of the way towards `value`.
double Moved(double average, double value, int period) { return (value - average) / period + average; }

}  // namespace

STDMETHODIMP CSmoAvgOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    switch (index) {
    case DigitsIndex: digits = std::clamp(number, 4, 15); break;
    case HistoryDepthIndex: depth = number; break;
    case Period:
        period = PositiveOrUnset(number);
        states.Live().history.Reconfigure(IsUnset(period) ? depth : 0);  // a constant period needs none
        break;
    }
    return S_OK;
}

// A smoothed average settles like an exponential average of twice the period.
int CSmoAvgOp::Lookback() const {
    constexpr int MostBars = 10000;
    return IsUnset(period) ? depth : std::min(ConvergenceBars(2.0 * period, digits), MostBars);
}

STDMETHODIMP CSmoAvgOp::Reset(int count, const double* seed) {
    SmoAvgState& live = states.Live();
    live.previous = FirstSeed(count, seed);
    live.average = UndefinedValue;
    live.sum = 0.0;
    live.count = 0;
    live.history.Clear();
    return S_OK;
}

// Calls come last in a path, or any bar would have to save registers for them.
STDMETHODIMP CSmoAvgOp::Calculate(int, const double* in, int, double* out) {
    return IsUnset(period) ? BarByCurve(states.Live(), in, out) : StepByConstant(states.Live(), in[Curve], out);
}

HRESULT CSmoAvgOp::StepByConstant(SmoAvgState& live, double value, double* out) const {
    if (IsUndefined(value)) value = live.previous;
    if (IsUndefined(value)) return AnswerUndefined(1, out);
    live.previous = value;
    if (IsUndefined(live.average)) {
        live.sum += value;
        if (++live.count != period) return AnswerUndefined(1, out);
        live.average = live.sum / period;
    } else {
        live.average = Moved(live.average, value, period);
    }
    return AnswerRounded(out, live.average, digits);
}

[[gnu::noinline]] HRESULT CSmoAvgOp::BarByCurve(SmoAvgState& live, const double* in, double* out) const {
    return CarryForward(live.previous, in, out,
                        [&](double value) { return StepByCurve(live, value, TruncateToInt(in[Period])); });
}

// The period can differ from bar to bar. The average starts on the first bar whose period is not above the number of
// values so far, as the mean of that many newest values.
double CSmoAvgOp::StepByCurve(SmoAvgState& live, double value, int wanted) const {
    const bool starts = IsUndefined(live.average);
    if (starts) {
        live.history.Push(value);
        if (live.history.Size() > depth) live.history.PopFront();
    }
    if (wanted < 1) return UndefinedValue;
    if (!starts) return live.average = Moved(live.average, value, wanted);
    if (live.history.Size() < wanted) return UndefinedValue;
    live.history.NewestFirst(wanted, [&](double earlier) { live.sum += earlier; });
    return live.average = live.sum / wanted;
}

}  // namespace sarvane
