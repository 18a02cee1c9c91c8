#include "kase/kase_peak_osc_op.h"

#include "frame/logarithm.h"
#include "statistics/chart_label.h"

#include <cmath>

namespace sarvane {
namespace {

enum Argument : short { Bar, LagFrom, LagTo, DeviationFactor };
enum Input : short { High, Low, Close };
enum Output : short { Oscillator, OuterBand, OuterTurn, InnerBand, InnerTurn, HighOut, LowOut, Label };

constexpr double FixedThreshold = 100.0;

// The greater of `longest` and how far price moved from one value up to another, as a logarithm per root of the bars
// between. Prices of opposite signs, gaps and a divisor near zero give no quotient above 1.0, so they count like a way
// down: not at all.
double LongerRun(double longest, GuardedValue upper, GuardedValue lower, int lag) {
    const GuardedValue quotient = upper / lower;
    if (!(quotient > 1.0)) return longest;
    const double root = std::sqrt(lag);
    // log(q) <= q - 1, and all three are rounded to the nearest double, which keeps an order: the run is at most
    // (q - 1) / root. Where that is no longer than `longest`, the logarithm need not be known.
    if ((quotient.value - 1.0) / root <= longest) return longest;
    return Greater(longest, Logarithm(quotient.value) / root);
}

// A threshold lies on the oscillator's side of zero.
GuardedValue Band(GuardedValue oscillator, GuardedValue threshold) {
    if (IsUndefined(oscillator)) return UndefinedValue;
    return oscillator > 0.0 ? threshold : threshold * -1.0;
}

// Whether the last bar's oscillator was a peak above zero or a trough below. A flat start of the turn is part of it.
bool IsTurn(const KasePeakOscState& live, GuardedValue now) {
    const GuardedValue turn = live.last;
    return (turn > 0.0 && turn > now && turn >= live.secondLast) ||
           (turn < 0.0 && turn < now && turn <= live.secondLast);
}

// Marks a turn at the outermost threshold that it reaches. Trough and peak are alike but for the sign.
void MarkTurn(GuardedValue turn, GuardedValue outer, GuardedValue inner, double* out) {
    const double size = std::abs(turn.value);
    if (size >= outer.value) {
        out[OuterTurn] = turn.value;
        out[Label] = EncodeLabel({.text = "PG"});
    } else if (size >= inner.value) {
        out[InnerTurn] = turn.value;
        out[Label] = EncodeLabel({.text = "PL"});
    }
}

// Bands and marks for the level that the oscillator's own deviations reach.
void ShowThresholds(const KasePeakOscState& live, GuardedValue oscillator, GuardedValue level, double* out) {
    if (IsUndefined(level)) return;
    const GuardedValue outer = Greater(level.value, FixedThreshold);
    const GuardedValue inner = Lesser(level.value, FixedThreshold);
    out[OuterBand] = Band(oscillator, outer).value;
    out[InnerBand] = Band(oscillator, inner).value;
    const bool complete = !IsUndefined(oscillator) && !IsUndefined(live.last) && !IsUndefined(live.secondLast);
    if (complete && IsTurn(live, oscillator)) MarkTurn(live.last, outer, inner, out);
}

}  // namespace

double SumDeviation::Step(double value) {
    if (IsUndefined(value)) return UndefinedValue;
    const double s = sum.Step(value);
    const double q = squareSum.Step(value * value);
    // Sums that are not there yet give a variance far below zero.
    const double variance = (count * q - s * s) / (count * count);
    if (variance >= 0.0) return std::sqrt(variance);
    return variance < 0.0 && variance > -0.001 ? 0.0 : UndefinedValue;  // rounding
}

STDMETHODIMP CKasePeakOscOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    switch (index) {
    case HistoryDepthIndex: depth = TextToInt(value); break;
    case LagFrom: lagFrom = TextToInt(value); break;
    case LagTo: lagTo = TextToInt(value); break;
    case DeviationFactor: deviationFactor = TextToDouble(value); break;
    }
    return S_OK;
}

// The steps work one behind the other, so their lookbacks add up.
int CKasePeakOscOp::StepBars() {
    return LongestLookback(returnDeviation.Steps()) + LongestLookback(std::tie(volatilityStep)) +
           LongestLookback(std::tie(upStep, downStep)) + LongestLookback(levelDeviation.Steps()) +
           LongestLookback(std::tie(levelStep));
}

STDMETHODIMP CKasePeakOscOp::Reset(int, const double*) {
    KasePeakOscState& live = states.Live();
    live.highs.Clear();
    live.lows.Clear();
    live.close = live.last = live.secondLast = UndefinedValue;
    live.runs = {};
    ResetAll(Steps());
    return S_OK;
}

// Until all parameters are set, the outputs of the bar itself and of the label are left as they are.
STDMETHODIMP CKasePeakOscOp::Calculate(int, const double* in, int, double* out) {
    std::fill_n(out, HighOut, UndefinedValue);
    if (!HasParameters()) return S_OK;
    KasePeakOscState& live = states.Live();
    live.highs.Push(in[High]);
    live.lows.Push(in[Low]);

    const PriceRuns runs = MeasureRuns(live, in[Close]);
    const GuardedValue up = upStep.Step(runs.up);
    const GuardedValue down = downStep.Step(runs.down);
    const GuardedValue oscillator = (up - down) * 40.0;
    out[Oscillator] = oscillator.value;
    out[HighOut] = in[High];
    out[LowOut] = in[Low];
    out[Label] = 0.0;
    ShowThresholds(live, oscillator, Level(oscillator), out);

    live.secondLast = live.last;
    live.last = oscillator;
    if (live.highs.Size() > LongestLag()) {
        live.highs.PopFront();
        live.lows.PopFront();
    }
    return S_OK;
}

// A previous close of zero ends the measuring for the rest of the run: no later close takes its place. Until there are
// bars for the longest lag there is nothing to measure, while the volatility already primes.
PriceRuns CKasePeakOscOp::MeasureRuns(KasePeakOscState& live, GuardedValue close) {
    const GuardedValue before = live.close;
    if (before > -1e-100 && before < 1e-100) return {};
    live.close = close;
    const GuardedValue growth = close / before;
    const double logReturn = growth > 0.0 ? Logarithm(growth.value) : UndefinedValue;
    const double volatility = volatilityStep.Step(returnDeviation.Step(logReturn));
    if (live.highs.Size() <= LongestLag()) return {};
    if (volatility > 1e-100) {
        const PriceRuns longest = LongestRuns(live);
        live.runs = {longest.up / volatility, longest.down / volatility};
    }
    return live.runs;
}

// The arrays reach back to the longest lag. No price has run over a lag below 1.
PriceRuns CKasePeakOscOp::LongestRuns(const KasePeakOscState& live) const {
    PriceRuns longest = {0.0, 0.0};
    for (int lag = std::max(std::min(lagFrom, lagTo), 1); lag <= LongestLag(); ++lag) {
        longest.up = LongerRun(longest.up, live.highs.Newest(), live.lows.Newest(lag), lag);
        longest.down = LongerRun(longest.down, live.highs.Newest(lag), live.lows.Newest(), lag);
    }
    return longest;
}

// Of the oscillator's distance from zero.
GuardedValue CKasePeakOscOp::Level(GuardedValue oscillator) {
    const double size = IsUndefined(oscillator) ? UndefinedValue : std::abs(oscillator.value);
    const GuardedValue mean = levelStep.Step(size);
    const GuardedValue deviation = levelDeviation.Step(size);
    return mean + deviation * deviationFactor;
}

}  // namespace sarvane
