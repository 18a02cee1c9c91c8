#include "statistics/hi_lo_lev_op.h"

namespace sarvane {
namespace {

enum Argument : short { Value, Key, Period, KeepGaps };
enum Output { Level, Distance };

}  // namespace

template <class Extreme>
STDMETHODIMP CLevOp<Extreme>::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case Period:
        period = PositiveOrUnset(number);
        states.Live().window.Reconfigure(WindowRoom(period, depth));
        break;
    case KeepGaps: keepGaps = number != 0; break;
    }
    return S_OK;
}

template <class Extreme>
STDMETHODIMP CLevOp<Extreme>::Reset(int count, const double* seed) {
    LevelState& live = states.Live();
    live.previous = {.key = NthSeed(Key, count, seed), .value = NthSeed(Value, count, seed)};
    live.window.Clear();
    return S_OK;
}

template <class Extreme>
STDMETHODIMP CLevOp<Extreme>::Calculate(int, const double* in, int, double* out) {
    out[Level] = out[Distance] = UndefinedValue;
    LevelState& live = states.Live();
    LevelBar bar = {.key = in[Key], .value = in[Value]};
    if (!keepGaps) {
        if (IsUndefined(bar.value)) bar.value = live.previous.value;
        if (IsUndefined(bar.key)) bar.key = live.previous.key;
        if (IsUndefined(bar.value) || IsUndefined(bar.key)) return S_OK;
    }
    PushWithin(live.window, bar, ValueOr(period, depth));
    const int size = live.window.Size();
    const int wanted = IsUnset(period) ? TruncateToInt(in[Period]) : period;
    // A constant period gives results from a window of exactly that many bars. A snapshot that was taken before the
    // period was made shorter holds more, and gives none.
    if (IsUnset(period) ? wanted >= 1 && wanted <= size : wanted == size) FindExtreme(live.window, wanted, out);
    live.previous = bar;
    return S_OK;
}

// Searches the newest `wanted` bars, oldest first. A missing key is never better than a key, and any later key, missing
// or not, is better than a missing one. The distance of a bar whose key is missing is an output only if gaps are kept.
template <class Extreme>
void CLevOp<Extreme>::FindExtreme(const BasicHistoryRing<LevelBar>& window, int wanted, double* out) const {
    double best = UndefinedValue;
    for (int bars = wanted - 1; bars >= 0; --bars) {
        const auto [key, value] = window.Newest(bars);
        const bool missing = IsUndefined(key);
        if (!IsUndefined(best) && (missing || !Extreme::IsBeyond(key, best))) continue;
        best = key;
        out[Level] = value;
        if (!missing || keepGaps) out[Distance] = bars;
    }
}

template class CLevOp<HighestKey>;
template class CLevOp<LowestKey>;

}  // namespace sarvane
