#include "kase/kase_ccss_op.h"

#include "frame/chart_label.h"
#include "steps/guarded_value.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace sarvane {
namespace {

enum Argument : short { Bar, SpanFactor, Lag };
enum Input : short { High, Low, Close };

constexpr double SmallestDivisor = 1e-100;  // divisors have to be greater

// On the scale of the stochastics, from 0 to 100.
constexpr double Overbought = 85.0, Oversold = 15.0;
constexpr double SlightLead = 2.0;                          // what k and d may differ by without counting for much
constexpr double UpperQuarter = 75.0, LowerQuarter = 25.0;  // a hook on the bar after its lead lies beyond them
constexpr double HookLead = 11.5;                           // the first line must have been that far from the second
constexpr double HookReturn = 4.0;                          // a hook on the second bar after its lead returns that far

constexpr std::size_t FirstRange = 8;  // output of the high, ahead of the low
constexpr std::size_t FirstLabel = 10;

using Votes = std::array<int, 8>;
using RecentRanges = std::array<KaseRange, 4>;  // of this bar and the three before, newest first

Lean LeanOf(GuardedValue difference) { return {difference > 0.0, difference < 0.0 && !IsUndefined(difference)}; }

// Whether a stochastic rises, from its line k and the line d that follows it. In the middle and in the overbought zone
// it rises if k is above d. With both lines overbought k may also be slightly below d; with both oversold k must be
// more than slightly above d.
bool IsRising(double k, double d) {
    const bool overbought = k > Overbought && d > Overbought;
    const bool oversold = d < Oversold && k < Oversold;
    return (overbought && std::abs(k - d) < SlightLead) || (oversold && k - d > SlightLead) || (k > Oversold && k > d);
}

Lean LeanOf(const LinePair& lines) {
    if (IsUndefined(lines.first) || IsUndefined(lines.second)) return {};
    const bool rising = IsRising(lines.first, lines.second);
    return {rising, !rising};
}

bool RanBelow(const LinePair& lines) { return lines.second - HookLead > lines.first; }
bool RanAbove(const LinePair& lines) { return lines.first > lines.second + HookLead; }

// A hook is a turn of the first line after it ran well ahead of the second one. After a lead on the last bar any turn
// within the outer quarter counts; after a lead on the bar before that, a turn by more than HookReturn counts anywhere.
Lean HookOf(const LinePair& now, const LinePair& last, const LinePair& secondLast) {
    for (const LinePair& lines : {now, last, secondLast}) {
        if (IsUndefined(lines.first) || IsUndefined(lines.second)) return {};
    }
    const double line = now.first;
    return {.up = (line < LowerQuarter && RanBelow(last) && line > last.first) ||
                  (RanBelow(secondLast) && line - HookReturn > secondLast.first),
            .down = (line > UpperQuarter && RanAbove(last) && last.first > line) ||
                    (RanAbove(secondLast) && secondLast.first > line + HookReturn)};
}

// One stage of a slow line: blends `value` with the stage's own result `lag` bars back. The first `lag` values have no
// such result and pass unchanged. `results` holds the last `lag` results.
template <class Blend>
double FeedBack(HistoryRing& results, int lag, double value, Blend blend) {
    double result = value;
    if (results.Size() >= lag) {
        result = blend(value, results[0]);
        results.PopFront();
    }
    results.Push(result);
    return result;
}

int Vote(bool up, bool down) { return up ? 1 : down ? -1 : 0; }

Votes CastVotes(const Leans& lean) {
    const auto& [momentum, histogram, fast, slow, hook] = lean;
    return {
        Vote(momentum.up && slow.up, histogram.down && slow.down),
        Vote(fast.up && slow.up, fast.down && slow.down),
        Vote(histogram.up && slow.up, momentum.down && slow.down),
        Vote(histogram.up && hook.up, histogram.down && hook.down),
        Vote(fast.up && hook.up, fast.down && hook.down),
        Vote(momentum.up && hook.up, momentum.down && hook.down),
        Vote(histogram.down && fast.down && momentum.down && hook.up,
             histogram.up && fast.up && momentum.up && hook.down),
        Vote(fast.up && slow.down, fast.down && slow.up),
    };
}

// Whether no high and no low was below the one before, over that many bars. In place of a bar that has not come yet
// stands UndefinedValue, which lies below every price.
bool Rises(const RecentRanges& ranges, std::size_t bars) {
    for (std::size_t i = 0; i < bars; ++i) {
        if (!(ranges[i].low >= ranges[i + 1].low && ranges[i].high >= ranges[i + 1].high)) return false;
    }
    return true;
}
// The same with no high and no low above the one before.
bool Falls(const RecentRanges& ranges, std::size_t bars) {
    for (std::size_t i = 0; i < bars; ++i) {
        if (!(ranges[i + 1].low >= ranges[i].low && ranges[i + 1].high >= ranges[i].high)) return false;
    }
    return true;
}

// A signal appears when one of its votes is cast and `bars` bars confirm it. It never stands on two bars in a row, so a
// condition that lasts gives a signal on every second bar.
int NextSignal(int signal, std::span<const int> votes, const RecentRanges& ranges, std::size_t bars) {
    const auto isCast = [&](int vote) { return std::ranges::find(votes, vote) != votes.end(); };
    if (isCast(1) && Rises(ranges, bars) && signal != 1) return 1;
    if (isCast(-1) && Falls(ranges, bars) && signal != -1) return -1;
    return 0;
}

void AdvanceSignals(std::array<int, 3>& signals, const Votes& votes, const RecentRanges& ranges) {
    const std::span<const int> all = votes;
    signals = {NextSignal(signals[0], all.subspan(0, 3), ranges, 1),
               NextSignal(signals[1], all.subspan(3, 3), ranges, 2),
               NextSignal(signals[2], all.subspan(7, 1), ranges, 3)};
}

// Each signal has two outputs, one for the label of an upward signal and one for that of a downward one. The label's
// text is the number of the signal.
void ShowLabels(const std::array<int, 3>& signals, double* out) {
    for (std::size_t i = 0; i < signals.size(); ++i) {
        if (signals[i] == 0) continue;
        const int curve = signals[i] > 0 ? 0 : 1;
        const std::string digit(1, static_cast<char>('1' + i));
        out[FirstLabel + 2 * i + static_cast<std::size_t>(curve)] = EncodeLabel({.curve = curve, .text = digit});
    }
}

}  // namespace

// 50 without movement, and also as long as both averages are still UndefinedValue, which makes their share a half.
double MomentumPair::Step(double close, double previousClose) {
    const double up = upward.Step(Greater(0.0, close - previousClose));
    const double down = downward.Step(Greater(0.0, previousClose - close));
    const double total = down + up;
    if (!(std::abs(total) > SmallestDivisor)) return 50.0;
    const double share = up * 100.0 / total;
    return IsUndefined(share) ? 50.0 : share;
}

double RangePosition::Step(const KaseBar& bar) {
    const double high = highest.Step(bar.high);
    const double low = lowest.Step(bar.low);
    if (IsUndefined(high) || IsUndefined(low)) return UndefinedValue;
    return high > low + SmallestDivisor ? (bar.close - low) * 100.0 / (high - low) : 50.0;
}

STDMETHODIMP CKaseCCSSOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    switch (index) {
    case SpanFactor: spanFactor = TextToInt(value); break;
    case Lag: lag = TextToInt(value); break;
    default: return S_OK;
    }
    span.Configure(spanFactor, lag);
    return S_OK;
}

STDMETHODIMP CKaseCCSSOp::Reset(int count, const double* seed) {
    KaseCCSSState& live = states.Live();
    live.previous = SeedBar(count, seed);
    live.momentumClose = UndefinedValue;
    live.firstBlend.Clear();
    live.secondBlend.Clear();
    live.lastLines = live.secondLastLines = {};
    ResetAll(Steps());
    return S_OK;
}

// If one value is missing the whole bar repeats the one before. A close is enough to go on: a seed may hold nothing
// else, and then the stochastics have no value on this bar.
STDMETHODIMP CKaseCCSSOp::Calculate(int, const double* in, int, double* out) {
    std::fill_n(out, 16, UndefinedValue);
    KaseCCSSState& live = states.Live();
    const bool hasGap = IsUndefined(in[High]) || IsUndefined(in[Low]) || IsUndefined(in[Close]);
    const KaseBar bar = hasGap ? live.previous : KaseBar{in[High], in[Low], in[Close]};
    if (IsUndefined(bar.close) || lag < 1) return S_OK;

    const Votes votes = CastVotes(ReadIndicators(live, bar));
    const auto& [last, secondLast, thirdLast] = live.earlier;
    const RecentRanges ranges = {{{bar.high, bar.low}, last, secondLast, thirdLast}};
    AdvanceSignals(live.signals, votes, ranges);

    std::copy(votes.begin(), votes.end(), out);
    out[FirstRange] = bar.high;
    out[FirstRange + 1] = bar.low;
    ShowLabels(live.signals, out);
    live.earlier = {ranges[0], ranges[1], ranges[2]};
    live.previous = bar;
    return S_OK;
}

Leans CKaseCCSSOp::ReadIndicators(KaseCCSSState& live, const KaseBar& bar) {
    Leans leans;
    leans.momentum = ReadMomentum(live, bar.close);
    leans.histogram = ReadHistogram(bar.close);
    leans.fast = ReadFastStochastic(bar);
    const LinePair lines = StepSlowLines(live, bar);
    leans.slow = LeanOf(lines);
    leans.hook = HookOf(lines, live.lastLines, live.secondLastLines);
    live.secondLastLines = live.lastLines;
    live.lastLines = lines;
    return leans;
}

// Momentum against its average. The first close of a run gives no momentum, since there is none to compare it with.
Lean CKaseCCSSOp::ReadMomentum(KaseCCSSState& live, double close) {
    const bool isFirst = IsUndefined(live.momentumClose);
    const GuardedValue share = isFirst ? UndefinedValue : momentum.Step(close, live.momentumClose);
    live.momentumClose = close;
    return LeanOf(share - momentumAverage.Step(share.value));
}

// Difference of two exponential averages against its own average.
Lean CKaseCCSSOp::ReadHistogram(double close) {
    const GuardedValue line = GuardedValue(shortExp.Step(close)) - longExp.Step(close);
    return LeanOf(line - signalExp.Step(line.value));
}

Lean CKaseCCSSOp::ReadFastStochastic(const KaseBar& bar) {
    const double k = positionFast.Step(position.Step(bar));
    return LeanOf(LinePair{k, positionSlow.Step(k)});
}

// The second line starts from the blend of the first. Both lines are UndefinedValue on the first bars.
LinePair CKaseCCSSOp::StepSlowLines(KaseCCSSState& live, const KaseBar& bar) {
    const double first = FeedBack(live.firstBlend, lag, RawStochastic(bar), HalfBlend);
    const double second = FeedBack(live.secondBlend, lag, first, ThirdBlend);
    return {firstLine.Step(first), secondLine.Step(second)};
}

// Where the close stands in the range of the last bars, in percent; UndefinedValue in a range without height.
double CKaseCCSSOp::RawStochastic(const KaseBar& bar) {
    const double high = span.highest.Step(bar.high);
    const double low = span.lowest.Step(bar.low);
    if (IsUndefined(high) || IsUndefined(low) || !(std::abs(high - low) > SmallestDivisor)) return UndefinedValue;
    return (bar.close - low) / (high - low) * 100.0;
}

}  // namespace sarvane
