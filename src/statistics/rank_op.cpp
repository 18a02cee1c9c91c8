#include "statistics/rank_op.h"

#include <functional>

namespace sarvane {
namespace {

enum Argument : short { Curve, Unread, Period, Direction, TieWeight, Spare };

// Adds to `rank` what each of the values that `forEach` visits adds to it: 1.0 if it beats `newest`, and `tieWeight` if
// it is equal. Adding 0.0 changes nothing, and takes less than a branch that a processor can't predict.
template <class ForEach, class Beats>
double Ranked(double rank, double newest, double tieWeight, ForEach forEach, Beats beats) {
    forEach([&](double other) {
        rank += beats(other, newest) ? 1.0 : 0.0;
        rank += other == newest ? tieWeight : 0.0;
    });
    return rank;
}

template <class ForEach>
double Ranked(double rank, double newest, double tieWeight, bool higherBeats, ForEach forEach) {
    return higherBeats ? Ranked(rank, newest, tieWeight, forEach, std::greater<>())
                       : Ranked(rank, newest, tieWeight, forEach, std::less<>());
}

// The rank with parameters that are read from inputs. Here the newest value is compared with itself, too, and so adds
// `tieWeight` once, unless it is a NaN.
double RankAmongNewest(const HistoryRing& window, const double* in) {
    const int wanted = TruncateToInt(in[Period]);
    const double tieWeight = in[TieWeight];
    if (IsUndefined(tieWeight) || wanted < 1 || wanted > window.Size()) return UndefinedValue;
    const double newest = window.Newest();
    const double rank = newest == newest ? 1.0 + tieWeight : 1.0;
    return Ranked(rank, newest, tieWeight, in[Direction] > 0.0,
                  [&](auto use) { window.NewestFirst(wanted - 1, use, 1); });
}

}  // namespace

STDMETHODIMP CRankOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case Period:
        period = PositiveOrUnset(number);
        states.Live().window.Reconfigure(WindowRoom(period, depth));
        break;
    case Direction: direction = number; break;
    case TieWeight: tieWeight = number; break;
    case Spare: spareParam = number; break;
    }
    return S_OK;
}

STDMETHODIMP CRankOp::Calculate(int, const double* in, int, double* out) {
    WindowState& live = states.Live();
    return CarryForward(live.previous, in, out, [&](double value) {
        PushWithin(live.window, value, ValueOr(period, depth));
        return IsUnset(period) ? RankAmongNewest(live.window, in) : RankInWindow(live.window);
    });
}

// The rank with constant parameters, among what the window holds.
double CRankOp::RankInWindow(const HistoryRing& window) const {
    if (!AreAllSet()) return UndefinedValue;
    return Ranked(1.0, window.Newest(), tieWeight, direction > 0,
                  [&](auto use) { window.OldestFirst(window.Size() - 1, use); });
}

}  // namespace sarvane
