#include "statistics/middle_op.h"

#include <algorithm>

namespace sarvane {
namespace {

enum Argument : short { Curve, Period, RankFromTop };

// The value at a place counted from the top, or the median if that is unset.
template <class Sorted>
double Selected(const Sorted& sorted, int count, int rankFromTop) {
    if (!IsUnset(rankFromTop)) return sorted[count - rankFromTop];
    const int half = count / 2;
    if (count == 0) return UndefinedValue;
    return count % 2 != 0 ? sorted[half] : (sorted[half - 1] + sorted[half]) * 0.5;
}

}  // namespace

STDMETHODIMP CMiddleOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    MiddleState& live = states.Live();
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case Period:
        period = PositiveOrUnset(number);
        live.window.Reconfigure(WindowRoom(period, depth));
        live.version = OrderedWindow::Unknown;
        break;
    case RankFromTop: rankFromTop = number; break;
    }
    return S_OK;
}

STDMETHODIMP CMiddleOp::Reset(int count, const double* seed) {
    states.Live().version = OrderedWindow::Unknown;
    return states.Live().Reset(count, seed);
}

STDMETHODIMP CMiddleOp::Calculate(int, const double* in, int, double* out) {
    MiddleState& live = states.Live();
    return CarryForward(live.previous, in, out, [&](double value) {
        return Step(live, value, IsUnset(period) ? TruncateToInt(in[Period]) : period);
    });
}

// Takes the result from the oldest `wanted` values of the window.
double CMiddleOp::Step(MiddleState& live, double value, int wanted) {
    HistoryRing& window = live.window;
    const int sizeBefore = window.Size();
    const double oldest = sizeBefore > 0 ? window[0] : value;
    PushWithin(window, value, ValueOr(period, depth));
    const int count = std::clamp(wanted, 0, window.Size());
    live.version =
        order.Follow(live.version, window, count, window.Size() == sizeBefore ? std::optional(oldest) : std::nullopt);
    if (!IsUnset(rankFromTop) && (rankFromTop < 1 || rankFromTop > count)) return UndefinedValue;
    if (order.HasNaN()) return SelectFromBag(window, count);
    const double result = Selected(order, count, rankFromTop);
    return result == 0.0 && order.HasBothZeros() ? SelectFromBag(window, count) : result;
}

// The values are added oldest first: that order decides where a NaN goes, and which of 0.0 and -0.0 comes first.
double CMiddleOp::SelectFromBag(const HistoryRing& window, int count) {
    bag.StartOver(count);
    for (int i = 0; i < count; ++i) bag.Add(window[i]);
    return Selected(bag, count, rankFromTop);
}

}  // namespace sarvane
