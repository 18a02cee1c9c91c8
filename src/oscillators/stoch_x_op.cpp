#include "oscillators/stoch_x_op.h"

#include "frame/bar_inputs.h"

#include <cmath>
#include <utility>

namespace sarvane {
namespace {

enum Argument : short { Bar, RatioMode, FastKind, SlowKind, RangeLength, FastLength, SlowLength };
enum Input : std::size_t { High, Low, Close };

constexpr int AverageOfRatios = 1;

// A number below 1.0 is the smoothing ratio of an average of that kind.
double AsLength(double value, int kind) {
    if (!(value < 1.0)) return value;
    return kind == StepSmo ? 1.0 / value : 2.0 / value - 1.0;
}

void ConfigureAverage(CSetStepMA& step, int kind, double length) {
    if (kind == StepSim || kind == StepSmo) {
        step.Configure(kind, length);
    } else {
        step.Configure(StepExp, 2.0 / (length + 1.0));
    }
}

// A NaN is no divisor either.
bool IsDivisor(double number) { return std::abs(number) > 1e-100; }

// Takes the entry that a window of `length` loses with the newest one; the history holds more entries than that.
GuardedValue TakeLeaving(StochXState::History& history, double length) {
    const GuardedValue leaving = history.Newest(TruncateToInt(length));
    history.PopFront();
    return leaving;
}

// The level of an average to be met on this bar: the average as it stood before the bar. A simple one is about to lose
// its oldest entry, so its level is the mean of the others.
GuardedValue LevelBefore(int kind, double length, GuardedValue average, GuardedValue entry,
                         StochXState::History& history) {
    if (kind != StepSim || IsUndefined(entry)) return average;
    history.Push(entry);
    if (!(history.Size() > length) || IsUndefined(average)) return UndefinedValue;
    const GuardedValue leaving = TakeLeaving(history, length);
    const double others = length - 1.0;
    if (!IsDivisor(others)) return UndefinedValue;
    return average * (length / others) - leaving * (1.0 / others);
}

}  // namespace

STDMETHODIMP CStochXOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    switch (index) {
    case RatioMode: ratioMode = TextToInt(value); break;
    case FastKind: fastKind = TextToInt(value); break;
    case SlowKind: slowKind = TextToInt(value); break;
    case RangeLength: rangeLength = TextToDouble(value); break;
    case FastLength: fastLength = AsLength(TextToDouble(value), fastKind); break;
    case SlowLength: slowLength = AsLength(TextToDouble(value), slowKind); break;
    }
    ConfigureSteps();
    return S_OK;
}

void CStochXOp::ConfigureSteps() {
    lowStep.Configure(StepLowest, rangeLength);
    highStep.Configure(StepHighest, rangeLength);
    if (!IsUndefined(fastLength) && !IsUnset(fastKind) && IsDivisor(fastLength + 1.0)) {
        for (CSetStepMA* step : {&positionStep, &rangeStep, &rawStep}) ConfigureAverage(*step, fastKind, fastLength);
    }
    if (!IsUndefined(slowLength) && !IsUnset(slowKind)) ConfigureAverage(slowStep, slowKind, slowLength);
}

STDMETHODIMP CStochXOp::Reset(int count, const double* seed) {
    StochXState& live = states.Live();
    live.previous = SeedsOf<StochXPrices>(count, seed);
    live.lines = {};
    live.rawForFast.Clear();
    live.rawForSlow.Clear();
    live.fastHistory.Clear();
    live.positions.Clear();
    live.ranges.Clear();
    ResetAll(Steps());
    return S_OK;
}

STDMETHODIMP CStochXOp::Calculate(int, const double* in, int, double* out) {
    out[0] = out[1] = UndefinedValue;
    if (!(rangeLength > 0.0 && fastLength > 0.0 && slowLength > 0.0)) return S_OK;

    // A bar stays together: with one price missing, all three repeat the bar before.
    StochXState& live = states.Live();
    StochXPrices prices = {in[High], in[Low], in[Close]};
    if (HasGap(prices)) prices = live.previous;
    if (HasGap(prices)) return S_OK;

    const StochXBar bar = WithinRange(prices);
    const StochXLines before = std::exchange(live.lines, Smooth(bar));
    const GuardedValue fastLevel = LevelBefore(fastKind, fastLength, before.fast, bar.raw, live.rawForFast);
    const GuardedValue slowLevel = LevelBefore(slowKind, slowLength, before.slow, live.lines.fast, live.fastHistory);
    out[0] = (bar.low + bar.range * fastLevel).value;
    out[1] = CloseForFast(slowLevel, bar, before).value;
    live.previous = prices;
    return S_OK;
}

StochXBar CStochXOp::WithinRange(const StochXPrices& prices) {
    const GuardedValue low = lowStep.Step(prices[Low]);
    const GuardedValue high = highStep.Step(prices[High]);
    const GuardedValue position = prices[Close] - low;
    const GuardedValue range = high - low;
    return {low, range, position, position / range};
}

StochXLines CStochXOp::Smooth(const StochXBar& bar) {
    const GuardedValue position = positionStep.Step(bar.position.value);
    const GuardedValue range = rangeStep.Step(bar.range.value);
    const GuardedValue fast = ratioMode == AverageOfRatios ? rawStep.Step(bar.raw.value) : position / range;
    const GuardedValue slow = slowStep.Step(fast.value);
    return {position, range, fast, slow};
}

// The close that would put the fast line of this bar on `level`.
GuardedValue CStochXOp::CloseForFast(GuardedValue level, const StochXBar& bar, const StochXLines& before) {
    if (fastKind != StepSim) return ByRecursion(level, bar, before);
    if (ratioMode == AverageOfRatios && !IsUndefined(bar.raw)) return ByWindowOfRaw(level, bar, before);
    if (!IsUndefined(bar.position) && !IsUndefined(bar.range)) return ByWindowOfParts(level, bar, before);
    return UndefinedValue;
}

// An exponential or smoothed average moves from its last value by a fixed share of what is new.
GuardedValue CStochXOp::ByRecursion(GuardedValue level, const StochXBar& bar, const StochXLines& before) const {
    const double share = fastKind == StepSmo ? 1.0 / fastLength : 2.0 / (fastLength + 1.0);
    const double rest = 1.0 - share;
    if (ratioMode == AverageOfRatios) return bar.low + (bar.range / share) * (level - before.fast * rest);
    const GuardedValue nextRange = before.rangeAverage * rest + bar.range * share;
    return bar.low + (level * nextRange - before.positionAverage * rest) * (1.0 / share);
}

// A simple average of raw ratios gains this bar's and loses the one that leaves.
GuardedValue CStochXOp::ByWindowOfRaw(GuardedValue level, const StochXBar& bar, const StochXLines& before) {
    StochXState::History& history = states.Live().rawForSlow;
    history.Push(bar.raw);
    if (!(history.Size() > fastLength)) return UndefinedValue;
    const GuardedValue leaving = TakeLeaving(history, fastLength);
    return bar.low + (bar.range * fastLength) * ((level + leaving * (1.0 / fastLength)) - before.fast);
}

// Positions and ranges each have a simple average of their own, here as sums over the window.
GuardedValue CStochXOp::ByWindowOfParts(GuardedValue level, const StochXBar& bar, const StochXLines& before) {
    StochXState& live = states.Live();
    live.positions.Push(bar.position);
    live.ranges.Push(bar.range);
    if (!(live.positions.Size() > fastLength)) return UndefinedValue;
    const GuardedValue leavingPosition = TakeLeaving(live.positions, fastLength);
    const GuardedValue leavingRange = TakeLeaving(live.ranges, fastLength);
    const GuardedValue rangeSum = before.rangeAverage * fastLength + (bar.range - leavingRange);
    return bar.low + ((level * rangeSum - before.positionAverage * fastLength) + leavingPosition);
}

}  // namespace sarvane
