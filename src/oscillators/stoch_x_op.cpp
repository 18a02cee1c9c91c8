#include "oscillators/stoch_x_op.h"

#include "frame/bar_inputs.h"

#include <cmath>
#include <utility>

namespace sarvane {
namespace {

enum Argument : short { Bar, RatioMode, FastKind, SlowKind, RangeLength, FastLength, SlowLength };
enum Input : std::size_t { High, Low, Close };

constexpr int AverageOfRatios = 1;

// The length that a parameter stands for. Below 1.0 it is the smoothing ratio of an average of that kind: 1 / n for a
// smoothed average of n bars, 2 / (n + 1) for any other.
double AsLength(double parameter, int kind) {
    if (!(parameter < 1.0)) return parameter;
    return kind == StepSmo ? 1.0 / parameter : 2.0 / parameter - 1.0;
}

// Makes a step an average of `length` bars. An exponential one is configured by its smoothing ratio.
void ConfigureAverage(CSetStepMA& step, int kind, double length) {
    if (kind == StepSim || kind == StepSmo) {
        step.Configure(kind, length);
    } else {
        step.Configure(StepExp, 2.0 / (length + 1.0));
    }
}

// Whether a number can be divided by: not within 1e-100 of zero, and no NaN.
bool IsDivisor(double number) { return std::abs(number) > 1e-100; }

// Returns the entry that leaves a simple average of `length` entries when this bar's entry, the newest of the history,
// comes in. Drops the oldest entry of the history, which must hold more than `length`.
GuardedValue PopLeaving(StochXState::History& history, double length) {
    const GuardedValue leaving = history.Newest(TruncateToInt(length));
    history.PopFront();
    return leaving;
}

// The level at which an average and its input meet on this bar: the input that the average would then be equal to.
// `average` is the average before this bar. A recursive average moves towards its input, so they meet at `average`. A
// simple average of n entries and its input meet at the level for which
//     (n * average - leaving + level) / n = level,  that is  level = (n * average - leaving) / (n - 1)
// `entry` is the actual input of this bar, and goes into the history of a simple average.
GuardedValue MeetingLevel(int kind, double length, GuardedValue average, GuardedValue entry,
                          StochXState::History& history) {
    if (kind != StepSim || IsUndefined(entry)) return average;
    history.Push(entry);
    if (!(history.Size() > length) || IsUndefined(average)) return UndefinedValue;
    const GuardedValue leaving = PopLeaving(history, length);
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

    // With one price missing, all three repeat the bar before.
    StochXState& live = states.Live();
    StochXPrices prices = {in[High], in[Low], in[Close]};
    if (!RepeatIfGap(prices, live.previous)) return S_OK;

    const StochXBar bar = WithinRange(prices);
    const StochXLines before = std::exchange(live.lines, Average(bar));
    const GuardedValue fastLevel = MeetingLevel(fastKind, fastLength, before.fast, bar.raw, live.rawForFast);
    const GuardedValue slowLevel = MeetingLevel(slowKind, slowLength, before.slow, live.lines.fast, live.fastHistory);
    // the close with (close - low) / range = fastLevel
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

StochXLines CStochXOp::Average(const StochXBar& bar) {
    const GuardedValue position = positionStep.Step(bar.position.value);
    const GuardedValue range = rangeStep.Step(bar.range.value);
    const GuardedValue fast = ratioMode == AverageOfRatios ? rawStep.Step(bar.raw.value) : position / range;
    const GuardedValue slow = slowStep.Step(fast.value);
    return {position, range, fast, slow};
}

// The close of this bar that would put the fast line on `level`. `before` holds the averages before this bar.
GuardedValue CStochXOp::CloseForFast(GuardedValue level, const StochXBar& bar, const StochXLines& before) {
    if (fastKind != StepSim) return CloseForRecursive(level, bar, before);
    if (ratioMode == AverageOfRatios && !IsUndefined(bar.raw)) return CloseForSimpleOfRaw(level, bar, before);
    if (!IsUndefined(bar.position) && !IsUndefined(bar.range)) return CloseForSimpleOfParts(level, bar, before);
    return UndefinedValue;
}

// An exponential or smoothed average takes a fixed share of each input: average = before * (1 - share) + input * share.
// As an average of raw ratios, the fast line is on `level` if
//     before.fast * rest + (close - low) / range * share = level
// As a quotient of two averages, if
//     (before.positionAverage * rest + (close - low) * share) / (before.rangeAverage * rest + range * share) = level
GuardedValue CStochXOp::CloseForRecursive(GuardedValue level, const StochXBar& bar, const StochXLines& before) const {
    const double share = fastKind == StepSmo ? 1.0 / fastLength : 2.0 / (fastLength + 1.0);
    const double rest = 1.0 - share;
    if (ratioMode == AverageOfRatios) return bar.low + (bar.range / share) * (level - before.fast * rest);
    const GuardedValue nextRange = before.rangeAverage * rest + bar.range * share;
    return bar.low + (level * nextRange - before.positionAverage * rest) * (1.0 / share);
}

// A simple average of the raw ratios of n bars. It is on `level` if
//     before.fast + ((close - low) / range - leaving) / n = level
GuardedValue CStochXOp::CloseForSimpleOfRaw(GuardedValue level, const StochXBar& bar, const StochXLines& before) {
    StochXState::History& history = states.Live().rawForSlow;
    history.Push(bar.raw);
    if (!(history.Size() > fastLength)) return UndefinedValue;
    const GuardedValue leaving = PopLeaving(history, fastLength);
    return bar.low + (bar.range * fastLength) * ((level + leaving * (1.0 / fastLength)) - before.fast);
}

// A quotient of simple averages, which is the quotient of the sums over n bars. It is on `level` if
//     (before.positionAverage * n - leavingPosition + close - low) / (before.rangeAverage * n - leavingRange + range)
//         = level
GuardedValue CStochXOp::CloseForSimpleOfParts(GuardedValue level, const StochXBar& bar, const StochXLines& before) {
    StochXState& live = states.Live();
    live.positions.Push(bar.position);
    live.ranges.Push(bar.range);
    if (!(live.positions.Size() > fastLength)) return UndefinedValue;
    const GuardedValue leavingPosition = PopLeaving(live.positions, fastLength);
    const GuardedValue leavingRange = PopLeaving(live.ranges, fastLength);
    const GuardedValue rangeSum = before.rangeAverage * fastLength + (bar.range - leavingRange);
    return bar.low + ((level * rangeSum - before.positionAverage * fastLength) + leavingPosition);
}

}  // namespace sarvane
