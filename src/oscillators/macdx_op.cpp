#include "oscillators/macdx_op.h"

namespace sarvane {
namespace {

// Index 0 is the curve in an expression, but in SetParameter it is the history depth. -1 is ignored here.
enum Argument : short { HistoryDepth, FastRatio, SlowRatio, SignalRatio };

// The smoothing ratio for a parameter, which is a length if it is above 1.0. A text that is no number gives 0.0.
double RatioOf(double number) {
    if (IsUndefined(number)) return 0.0;
    return number > 1.0 ? 2.0 / (number + 1.0) : number;
}

// Moves an average towards a value and returns what it was before that. An average that has not started starts as the
// value, which is then also what is returned.
double Advance(double& average, double value, double ratio) {
    const double before = IsUndefined(average) ? value : average;
    average = (value - before) * ratio + before;
    return before;
}

}  // namespace

STDMETHODIMP CMACDXOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const double number = TextToDouble(value);
    switch (index) {
    case HistoryDepth: depth = TruncateToInt(number); break;
    case FastRatio: fastRatio = RatioOf(number); break;
    case SlowRatio: slowRatio = RatioOf(number); break;
    case SignalRatio: signalRatio = RatioOf(number); break;
    }
    return S_OK;
}

// Always reads seed[0], whatever `count` is.
STDMETHODIMP CMACDXOp::Reset(int, const double* seed) {
    states.Live() = {.previous = FirstSeed(1, seed)};
    return S_OK;
}

// With equal ratios the two averages are always equal, and no price moves their difference.
STDMETHODIMP CMACDXOp::Calculate(int, const double* in, int, double* out) noexcept {
    out[0] = UndefinedValue;
    const double ratioGap = fastRatio - slowRatio;
    if (ratioGap >= -1e-100 && ratioGap <= 1e-100) return S_OK;
    MACDXState& live = states.Live();
    return CarryForward(live.previous, in, out, [&](double value) { return CrossingPrice(live, value); });
}

// Averages one more value, and returns the price P that would have put the difference of the averages on the signal
// line, with all three as they were before this bar:
//     (P * fastRatio + (1 - fastRatio) * fast) - (P * slowRatio + (1 - slowRatio) * slow) = signal
double CMACDXOp::CrossingPrice(MACDXState& live, double value) const {
    const double fast = Advance(live.fastAverage, value, fastRatio);
    const double slow = Advance(live.slowAverage, value, slowRatio);
    const double signal = Advance(live.signalLine, live.fastAverage - live.slowAverage, signalRatio);
    return (signal - (1.0 - fastRatio) * fast + (1.0 - slowRatio) * slow) / (fastRatio - slowRatio);
}

}  // namespace sarvane
