#include "statistics/rank_op.h"

namespace sarvane {
namespace {

enum Argument : short { Curve, Unread, Period, Direction, TieWeight, Spare };

// What the value `other` adds to the rank of `newest`.
double Weight(double other, double newest, bool higherBeats, double tieWeight) {
    if (higherBeats ? other > newest : newest > other) return 1.0;
    return other == newest ? tieWeight : 0.0;
}

// The rank with parameters that are read from inputs. Here the newest value is compared with itself, too, and so adds
// `tieWeight` once.
double RankAmongNewest(const HistoryRing& window, const double* in) {
    const int wanted = TruncateToInt(in[Period]);
    const double tieWeight = in[TieWeight];
    if (IsUndefined(tieWeight) || wanted < 1 || wanted > window.Size()) return UndefinedValue;
    double rank = 1.0;
    for (int bars = 0; bars < wanted; ++bars)
        rank += Weight(window.Newest(bars), window.Newest(), in[Direction] > 0.0, tieWeight);
    return rank;
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
    double rank = 1.0;
    for (int i = 0; i < window.Size() - 1; ++i) rank += Weight(window[i], window.Newest(), direction > 0, tieWeight);
    return rank;
}

}  // namespace sarvane
