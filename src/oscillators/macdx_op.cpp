#include "oscillators/macdx_op.h"

namespace sarvane {
namespace {

// The history depth comes in the place of the curve.
enum Argument : short { HistoryDepth, FastRatio, SlowRatio, SignalRatio };

// A text that was no number gives a ratio of 0.0.
double RatioOf(double number) {
    if (IsUndefined(number)) return 0.0;
    return number > 1.0 ? 2.0 / (number + 1.0) : number;
}

// Takes a value into an average and gives what the average was before. It starts as its first value.
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

// The seed of the one input is taken whatever the count says.
STDMETHODIMP CMACDXOp::Reset(int, const double* seed) {
    states.Live() = {.previous = FirstSeed(1, seed)};
    return S_OK;
}

// Two averages of one ratio never part, so that no price brings them to the signal line.
STDMETHODIMP CMACDXOp::Calculate(int, const double* in, int, double* out) noexcept {
    out[0] = UndefinedValue;
    const double ratioGap = fastRatio - slowRatio;
    if (ratioGap >= -1e-100 && ratioGap <= 1e-100) return S_OK;
    MACDXState& live = states.Live();
    return CarryForward(live.previous, in, out, [&](double value) { return CrossingPrice(live, value); });
}

// Solves (P * fastRatio + (1 - fastRatio) * fast) - (P * slowRatio + (1 - slowRatio) * slow) = signal for P, with the
// averages and the signal line as they stood before this bar.
double CMACDXOp::CrossingPrice(MACDXState& live, double value) const {
    const double fast = Advance(live.fastAverage, value, fastRatio);
    const double slow = Advance(live.slowAverage, value, slowRatio);
    const double signal = Advance(live.signalLine, live.fastAverage - live.slowAverage, signalRatio);
    return (signal - (1.0 - fastRatio) * fast + (1.0 - slowRatio) * slow) / (fastRatio - slowRatio);
}

}  // namespace sarvane
