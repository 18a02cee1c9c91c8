#include "averages/exp_avg_op.h"

#include <algorithm>
#include <cmath>

namespace sarvane {
namespace {

enum Argument : short { Curve, Smoothing };

constexpr int MostBars = 10000;  // the longest lookback that an average asks for

// The smoothing factor for a value of the parameter; UndefinedValue if that is below 1e-9. UndefinedValue itself is a
// negative number, so a missing value has no factor either.
double AlphaFrom(double smoothing) {
    if (CompareTolerant(smoothing, 0.0) != 1) return UndefinedValue;
    return smoothing > 1.0 ? 2.0 / (smoothing + 1.0) : smoothing;
}

// Bars until a single stage has settled to `digits`; UndefinedParam if `smoothing` is undefined or 0. A negative or NaN
// smoothing never gives an output, however long the history, so it asks for 0 bars.
int BarsOfStage(double smoothing, int digits) {
    if (IsUndefined(smoothing) || std::abs(smoothing) <= 1e-100) return UndefinedParam;
    const double period = smoothing > 1.0 ? smoothing : 2.0 / smoothing - 1.0;
    return std::clamp(ConvergenceBars(period, digits), 0, MostBars);
}

}  // namespace

bool ExpStage::Advance(double value) {
    if (IsUndefined(alpha)) return false;
    if (IsUndefined(value)) value = previousInput;
    if (IsUndefined(value)) return false;
    const double before = IsUndefined(average) ? value : average;
    previousInput = value;
    average = (value - before) * alpha + before;
    return true;
}

template <std::size_t Count>
bool ExpStagesInSeries<Count>::Advance(double value) {
    for (ExpStage& stage : stages) {
        if (!stage.Advance(value)) return false;
        value = stage.average;
    }
    return true;
}

template <std::size_t Count>
void ExpStagesInSeries<Count>::SetFactors(double smoothing) {
    const double alpha = AlphaFrom(smoothing);
    for (ExpStage& stage : stages) stage.alpha = alpha;
}

template <std::size_t Count>
int ExpStagesInSeries<Count>::BarsToSettle(double smoothing, int digits) {
    const int bars = BarsOfStage(smoothing, digits);
    return IsUnset(bars) ? bars : std::min(static_cast<int>(Count) * bars, MostBars);
}

// Stages 0 and 1 advance independently of each other; stage 2 only if both did.
bool CExHullAvgState::Advance(double value) {
    auto& [whole, half, root] = stages;
    const bool wholeAdvanced = whole.Advance(value);
    const bool halfAdvanced = half.Advance(value);
    return wholeAdvanced && halfAdvanced && root.Advance(half.average + half.average - whole.average);
}

// A negative smoothing gives none of the three a factor: its square root is a NaN, which is not above 0 either.
void CExHullAvgState::SetFactors(double smoothing) {
    stages[0].alpha = AlphaFrom(smoothing);
    stages[1].alpha = AlphaFrom(smoothing * 0.5);
    stages[2].alpha = AlphaFrom(std::sqrt(smoothing));
}

int CExHullAvgState::BarsToSettle(double smoothing, int digits) {
    const int half = smoothing < 0.0 ? UndefinedParam : BarsOfStage(smoothing * 0.5, digits);
    return IsUnset(half) ? half : BarsOfStage(smoothing, digits) + half;
}

template <class State>
STDMETHODIMP CDefExpAvgOp<State>::SetParameter(short index, const char16_t* value, TextSlot*) {
    switch (index) {
    case DigitsIndex: digits = std::clamp(TextToInt(value), 4, 15); break;
    case HistoryDepthIndex: depth = TextToInt(value); break;
    case Smoothing: smoothing = TextToDouble(value); break;
    }
    return S_OK;
}

template <class State>
STDMETHODIMP CDefExpAvgOp<State>::Reset(int count, const double* seed) {
    State& live = states.Live();
    live = State();
    for (std::size_t i = 0; i < State::CurveStages; ++i) live.stages[i].previousInput = FirstSeed(count, seed);
    live.SetFactors(smoothing);
    return S_OK;
}

// Calls come last in a path, or any bar would have to save registers for them.
template <class State>
STDMETHODIMP CDefExpAvgOp<State>::Calculate(int, const double* in, int, double* out) noexcept {
    return IsUndefined(smoothing) ? AverageBySmoothing(in, out) : Average(in[Curve], out);
}

template <class State>
HRESULT CDefExpAvgOp<State>::Average(double value, double* out) noexcept {
    State& live = states.Live();
    return live.Advance(value) ? AnswerRounded(out, live.stages.back().average, digits) : this->AnswerUndefined(1, out);
}

template <class State>
[[gnu::noinline]] HRESULT CDefExpAvgOp<State>::AverageBySmoothing(const double* in, double* out) noexcept {
    states.Live().SetFactors(in[Smoothing]);
    return Average(in[Curve], out);
}

template struct ExpStagesInSeries<1>;
template struct ExpStagesInSeries<3>;
template class CDefExpAvgOp<CExpAvgState>;
template class CDefExpAvgOp<CTriAvgState>;
template class CDefExpAvgOp<CExHullAvgState>;

}  // namespace sarvane
