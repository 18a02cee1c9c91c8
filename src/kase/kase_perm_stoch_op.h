#pragma once

#include "frame/described.h"
#include "frame/history_ring.h"
#include "kase/slow_lines.h"

#include <tuple>

namespace sarvane {

struct KasePermStochState {
    KaseBar previous;         // last bar that was used
    HistoryRing firstBlend{14};   // the last `lag` results of the first blend
    HistoryRing secondBlend{14};  // the last `lag` results of the second blend
};

// KasePermStoch( bar, rangeFactor, lag) gives two slow stochastic lines, from 0 to 100:
//
//     raw = 100 * (close - lowest low) / (highest high - lowest low)        over rangeFactor * lag bars
//     first = (raw + first[lag]) / 2                                        first[lag] is the result `lag` bars back
//     second = (first + 2 * second[lag]) / 3
//
// Each is then smoothed by simple averages of 3 and of 2. Unless both parameters are set there is no output, and two
// inputs are declared in their place, but never read.
class CKasePermStochOp : public Described<CKasePermStochOp> {
    friend Described;
    static constexpr Description About = {
        .sentence = "two slow stochastic lines, each blended with its own past",
        .arguments = {Takes::Bar("bar", "prices", HlcFields),
                      Takes::Count("rangeFactor", "length of the range, in lags").From(1),
                      Takes::Count("lag", "bars between a result and the earlier one that it is blended with").From(1)},
        .outputs = {{u"integer1", UnitKind::Number, "first line, from 0 to 100", DrawnAs::Line},
                    {u"integer2", UnitKind::Number, "second line, from 0 to 100", DrawnAs::Line}},
    };
    FormattedText Formula() const { return FormatText("KasePermStoch( %%s, %d, %d)", rangeFactor, lag); }
    int BoundInputs() const { return HasParameters() ? 0 : 2; }
    FormattedText Parameter(short n) const { return Nth(n, rangeFactor, lag); }
    int Lookback() const { return depth; }
    auto Steps() { return std::tuple_cat(span.Steps(), firstLine.Steps(), secondLine.Steps()); }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) override;

private:
    bool HasParameters() const { return !IsUnset(rangeFactor) && !IsUnset(lag); }
    double RawStochastic(const KaseBar& bar);

    int depth = DefaultHistoryDepth;
    int rangeFactor = UndefinedParam;
    int lag = UndefinedParam;
    SpanSteps span;
    LineSteps firstLine;
    LineSteps secondLine;
    StateStore<KasePermStochState> states;
};

}  // namespace sarvane
