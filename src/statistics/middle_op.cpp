#include "statistics/middle_op.h"

#include <algorithm>

namespace sarvane {
namespace {

enum Argument : short { Curve, Period, RankFromTop };

double Median(const SortedBagAsVector<double>& bag) {
    const int count = bag.GetCount();
    const int half = count / 2;
    if (count == 0) return UndefinedValue;
    return count % 2 != 0 ? bag[half] : (bag[half - 1] + bag[half]) * 0.5;
}

}  // namespace

STDMETHODIMP CMiddleOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case Period:
        period = PositiveOrUnset(number);
        states.Live().window.Reconfigure(WindowRoom(period, depth));
        break;
    case RankFromTop: rankFromTop = number; break;
    }
    return S_OK;
}

STDMETHODIMP CMiddleOp::Calculate(int, const double* in, int, double* out) {
    WindowState& live = states.Live();
    return CarryForward(live.previous, in, out, [&](double value) {
        PushWithin(live.window, value, ValueOr(period, depth));
        return Select(live.window, IsUnset(period) ? TruncateToInt(in[Period]) : period);
    });
}

// Sorts the oldest `wanted` values of the window. They are added oldest first, since that order decides where a NaN
// goes, and which of 0.0 and -0.0 comes first.
double CMiddleOp::Select(const HistoryRing& window, int wanted) {
    const int count = std::clamp(wanted, 0, window.Size());
    if (!IsUnset(rankFromTop) && (rankFromTop < 1 || rankFromTop > count)) return UndefinedValue;
    bag.StartOver(count);
    for (int i = 0; i < count; ++i) bag.Add(window[i]);
    return IsUnset(rankFromTop) ? Median(bag) : bag[count - rankFromTop];
}

}  // namespace sarvane
