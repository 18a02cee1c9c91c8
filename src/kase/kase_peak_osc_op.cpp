#include "kase/kase_peak_osc_op.h"

#include "frame/chart_label.h"
#include "frame/logarithm.h"

#include <cmath>

namespace sarvane {
namespace {

enum Argument : short { Bar, LagFrom, LagTo, DeviationFactor };
enum Input : short { High, Low, Close };
enum Output : short { Oscillator, OuterBand, OuterTurn, InnerBand, InnerTurn, HighOut, LowOut, Label };

constexpr double FixedThreshold = 100.0;

// The greater of `longest` and ln(upper / lower) / root, where `root` is that of a lag: how far price rose within the
// lag. It did not rise for a missing price, for prices of opposite signs and for a `lower` near zero, whose quotient is
// undefined or not above 1.0.
double LongerRun(double longest, GuardedValue upper, GuardedValue lower, double root) {
    // log(q) <= q - 1, and all three are rounded to the nearest double, which keeps an order: the run is at most
    // (q - 1) / root. Where that is no longer than `longest`, the logarithm need not be known. The factor makes up for
    // the rounding of the two products, so that no longer run is missed.
    constexpr double JustBelowOne = 1.0 - 0x1p-50;
    if (!(upper.value / lower.value - 1.0 > longest * (root * JustBelowOne))) return longest;
    const GuardedValue quotient = upper / lower;
    return quotient > 1.0 ? Greater(longest, Logarithm(quotient.value) / root) : longest;
}

// Prices whose squares and products are normal numbers above zero.
bool IsOrdinary(double price) { return price > 1e-100 && price < 1e100; }

// The greater of the longest run so far and those of ordinary prices, found mostly without a logarithm, a division or a
// root: ln(q) <= (q - 1) / sqrt(q) for q from 1 on, so a run over k bars from `lower` to `upper` is no longer than L if
//     (upper - lower)^2 <= L^2 * k * upper * lower
// `Slack` makes up for all rounding, for that of the quotient q together with the slack that the caller adds to
// `rise`, which is upper - lower.
class RunFilter {
public:
    explicit RunFilter(double longestRun) { Take(longestRun); }

    bool MayBeLonger(double rise, double upper, double lower, double lag) const {
        return rise > 0.0 && rise * rise >= bound * lag * (upper * lower);
    }
    void Take(double longestRun) { bound = longestRun * longestRun * Slack; }

private:
    static constexpr double Slack = 1.0 - 0x1p-40;

    double bound;
};

// A threshold is shown on the oscillator's side of zero, and below zero for an oscillator of exactly 0.0.
GuardedValue Band(GuardedValue oscillator, GuardedValue threshold) {
    if (IsUndefined(oscillator)) return UndefinedValue;
    return oscillator > 0.0 ? threshold : threshold * -1.0;
}

// Whether the last bar was a peak above zero or a trough below zero. It may equal the bar before it, not the bar after.
bool IsTurn(const KasePeakOscState& live, GuardedValue now) {
    const GuardedValue turn = live.last;
    return (turn > 0.0 && turn > now && turn >= live.secondLast) ||
           (turn < 0.0 && turn < now && turn <= live.secondLast);
}

// Marks a turn by the outermost threshold that it reaches. A trough is compared by its size, like a peak.
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

// Writes both thresholds, and a mark if the last bar was a turn beyond one of them. `level` is the threshold that
// follows the oscillator's own deviations.
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
    // While the sums are still UndefinedValue this is far below zero.
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

// Each of these steps takes the results of the one before, so their lookbacks add up.
int CKasePeakOscOp::StepBars() {
    return LongestLookback(returnDeviation.Steps()) + LongestLookback(std::tie(volatilityStep)) +
           LongestLookback(std::tie(upStep, downStep)) + LongestLookback(levelDeviation.Steps()) +
           LongestLookback(std::tie(levelStep));
}

STDMETHODIMP CKasePeakOscOp::Reset(int, const double*) {
    KasePeakOscState& live = states.Live();
    live.bars.Clear();
    live.ordinary = 0;
    live.close = live.last = live.secondLast = UndefinedValue;
    live.runs = {};
    ResetAll(Steps());
    return S_OK;
}

// Unless all parameters are set, the outputs for high, low and label keep what the host's array held.
STDMETHODIMP CKasePeakOscOp::Calculate(int, const double* in, int, double* out) {
    std::fill_n(out, HighOut, UndefinedValue);
    if (!HasParameters()) return S_OK;
    KasePeakOscState& live = states.Live();
    live.bars.Push({in[High], in[Low]});
    const bool isOrdinary = IsOrdinary(in[High]) && IsOrdinary(in[Low]);
    live.ordinary = isOrdinary ? std::min(live.ordinary, LongestLag()) + 1 : 0;

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
    if (live.bars.Size() > LongestLag()) live.bars.PopFront();
    return S_OK;
}

// How far price has run up and down, in units of volatility. A close of zero ends the measuring until the next reset:
// it stays the close before, since no later one replaces it. The longest lag has to be reached first; the volatility is
// averaged from the first bar on.
PriceRuns CKasePeakOscOp::MeasureRuns(KasePeakOscState& live, GuardedValue close) {
    const GuardedValue before = live.close;
    if (before > -1e-100 && before < 1e-100) return {};
    live.close = close;
    const GuardedValue growth = close / before;
    const double logReturn = growth > 0.0 ? Logarithm(growth.value) : UndefinedValue;
    const double volatility = volatilityStep.Step(returnDeviation.Step(logReturn));
    if (live.bars.Size() <= LongestLag()) return {};
    if (volatility > 1e-100) {
        const PriceRuns longest = LongestRuns(live);
        live.runs = {longest.up / volatility, longest.down / volatility};
    }
    return live.runs;
}

// The greatest runs over all lags. The bars reach back to the longest lag. Lags below 1 give no run.
PriceRuns CKasePeakOscOp::LongestRuns(const KasePeakOscState& live) {
    PriceRuns longest = {0.0, 0.0};
    int lag = std::max(std::min(lagFrom, lagTo), 1);
    const int count = std::max(LongestLag() - lag + 1, 0);
    if (live.ordinary > LongestLag()) {
        LongestOfOrdinary(live.bars, lag, count, longest);
        return longest;
    }
    const HighLow now = live.bars.Newest();
    const auto compare = [&](const HighLow& bar) {
        const double root = std::sqrt(lag++);
        longest.up = LongerRun(longest.up, now.high, bar.low, root);
        longest.down = LongerRun(longest.down, bar.high, now.low, root);
    };
    live.bars.NewestFirst(count, compare, lag);
    return longest;
}

// The same for ordinary prices. It begins with the two lags that are likely to give the longest runs, those from the same
// bars as before, since hardly any other lag needs a logarithm then.
void CKasePeakOscOp::LongestOfOrdinary(const BasicHistoryRing<HighLow>& bars, int lag, int count, PriceRuns& longest) {
    const HighLow now = bars.Newest();
    const auto moveOn = [&](int& guess) {
        guess = guess < lag + count - 1 ? guess + 1 : 0;
        return guess >= lag;
    };
    if (moveOn(upLag)) longest.up = LongerRun(0.0, now.high, bars.Newest(upLag).low, std::sqrt(upLag));
    if (moveOn(downLag)) longest.down = LongerRun(0.0, bars.Newest(downLag).high, now.low, std::sqrt(downLag));
    RunFilter up(longest.up), down(longest.down);
    const double slightlyAbove = now.high * (1.0 + 0x1p-50), slightlyBelow = now.low * (1.0 - 0x1p-50);
    double k = lag;
    const auto compare = [&](const HighLow& bar) {
        if (up.MayBeLonger(slightlyAbove - bar.low, now.high, bar.low, k)) {
            const double run = LongerRun(longest.up, now.high, bar.low, std::sqrt(k));
            if (run > longest.up) upLag = static_cast<int>(k);
            up.Take(longest.up = run);
        }
        if (down.MayBeLonger(bar.high - slightlyBelow, bar.high, now.low, k)) {
            const double run = LongerRun(longest.down, bar.high, now.low, std::sqrt(k));
            if (run > longest.down) downLag = static_cast<int>(k);
            down.Take(longest.down = run);
        }
        k += 1.0;
    };
    bars.NewestFirst(count, compare, lag);
}

// The threshold that follows the oscillator: mean of its size plus `deviationFactor` deviations of its size.
GuardedValue CKasePeakOscOp::Level(GuardedValue oscillator) {
    const double size = IsUndefined(oscillator) ? UndefinedValue : std::abs(oscillator.value);
    const GuardedValue mean = levelStep.Step(size);
    const GuardedValue deviation = levelDeviation.Step(size);
    return mean + deviation * deviationFactor;
}

}  // namespace sarvane
