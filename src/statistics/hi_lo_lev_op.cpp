#include "statistics/hi_lo_lev_op.h"

namespace sarvane {
namespace {

enum Argument : short { Value, Key, Period, KeepGaps };
enum Output { Level, Distance };

bool HasKey(const LevelBar& bar) { return !IsUndefined(bar.key); }

// Missing keys and NaNs have no order.
constexpr auto HasOrder = [](const LevelBar& bar) { return HasKey(bar) && bar.key == bar.key; };

// A missing key is never better than a key, and any later bar is better than one whose key is missing.
template <class Extreme>
constexpr auto IsBeyond = [](const LevelBar& bar, const LevelBar& best) {
    return (Extreme::IsBeyond(bar.key, best.key) && HasKey(bar)) || !HasKey(best);
};

}  // namespace

template <class Extreme>
STDMETHODIMP CLevOp<Extreme>::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case Period:
        period = PositiveOrUnset(number);
        states.Live().window.Reconfigure(WindowRoom(period, depth));
        states.Live().extreme.Forget();
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
    live.extreme.Forget();
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
    live.previous = bar;
    // A constant period gives results from a window of exactly that many bars. A snapshot that was taken before the
    // period was made shorter holds more, and gives none.
    if (IsUnset(period) ? wanted < 1 || wanted > size : wanted != size) {
        live.extreme.Forget();
        return S_OK;
    }
    if (IsUnset(period)) live.extreme.Forget();
    const int bars = IsUnset(period) ? ExtremePlace::Search(live.window, wanted, IsBeyond<Extreme>)
                                     : live.extreme.Follow(live.window, IsBeyond<Extreme>, HasOrder);
    const LevelBar& found = live.window.Newest(bars);
    out[Level] = found.value;
    // The distance of a bar whose key is missing is an output only if gaps are kept.
    if (HasKey(found) || keepGaps) out[Distance] = bars;
    return S_OK;
}

template class CLevOp<HighestKey>;
template class CLevOp<LowestKey>;

}  // namespace sarvane
