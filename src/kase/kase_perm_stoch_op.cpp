#include "kase/kase_perm_stoch_op.h"

namespace sarvane {
namespace {

enum Argument : short { Bar, RangeFactor, Lag };
enum Input : short { High, Low, Close };

double ValueOrPrevious(double value, double previous) { return IsUndefined(value) ? previous : value; }

// One stage of a line: blends `value` with the stage's own result `lag` bars back. The first `lag` values stand for the
// results that are missing then, and give no result themselves.
template <class Blend>
double FeedBack(HistoryRing& results, int lag, double value, Blend blend) {
    if (results.Size() < lag) {
        results.Push(value);
        return UndefinedValue;
    }
    const double result = blend(value, results.Newest(lag - 1));
    results.Push(result);
    results.PopFront();
    return result;
}

}  // namespace

STDMETHODIMP CKasePermStochOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    switch (index) {
    case HistoryDepthIndex: depth = TextToInt(value); break;
    case RangeFactor: rangeFactor = TextToInt(value); break;
    case Lag: lag = TextToInt(value); break;
    }
    span.Configure(rangeFactor, lag);
    return S_OK;
}

STDMETHODIMP CKasePermStochOp::Reset(int count, const double* seed) {
    KasePermStochState& live = states.Live();
    live.previous = SeedBar(count, seed);
    live.firstBlend.Clear();
    live.secondBlend.Clear();
    ResetAll(Steps());
    return S_OK;
}

STDMETHODIMP CKasePermStochOp::Calculate(int, const double* in, int, double* out) {
    out[0] = out[1] = UndefinedValue;
    KasePermStochState& live = states.Live();
    const KaseBar bar = {ValueOrPrevious(in[High], live.previous.high), ValueOrPrevious(in[Low], live.previous.low),
                         ValueOrPrevious(in[Close], live.previous.close)};
    if (IsUndefined(bar.high) || IsUndefined(bar.low) || IsUndefined(bar.close)) return S_OK;
    if (rangeFactor > 0 && lag > 0) {
        const double first = FeedBack(live.firstBlend, lag, RawStochastic(bar), HalfBlend);
        const double second = FeedBack(live.secondBlend, lag, first, ThirdBlend);
        out[0] = firstLine.Step(first);
        out[1] = secondLine.Step(second);
    }
    live.previous = bar;
    return S_OK;
}

// Where the close stands in the range of the last bars, in percent; UndefinedValue in a range without height.
double CKasePermStochOp::RawStochastic(const KaseBar& bar) {
    const double low = span.lowest.Step(bar.low);
    const double range = span.highest.Step(bar.high) - low;
    return range > 1e-100 && !IsUndefined(low) ? (bar.close - low) / range * 100.0 : UndefinedValue;
}

}  // namespace sarvane
