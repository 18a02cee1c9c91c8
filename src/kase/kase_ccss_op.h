#pragma once

#include "frame/described.h"
#include "frame/history_ring.h"
#include "kase/slow_lines.h"
#include "steps/set_step_ma.h"

#include <array>
#include <tuple>

namespace sarvane {

// Which way an indicator points on a bar. Both are false while it has no value or points neither way.
struct Lean {
    bool up = false;
    bool down = false;
};

struct Leans {
    Lean momentum;
    Lean histogram;
    Lean fast;
    Lean slow;
    Lean hook;  // of the slow stochastic: up at a bottom, down at a top
};

struct KaseRange {
    double high = UndefinedValue;
    double low = UndefinedValue;
};

// The two lines of a stochastic on a bar. The second is the smoother one and follows the first.
struct LinePair {
    double first = UndefinedValue;
    double second = UndefinedValue;
};

struct KaseCCSSState {
    KaseBar previous;                       // last bar that was used
    double momentumClose = UndefinedValue;  // previous close of the momentum
    HistoryRing firstBlend{14};             // the last `lag` results of the first blend
    HistoryRing secondBlend{14};            // the last `lag` results of the second blend
    LinePair lastLines;                     // of the slow stochastic on the last bar
    LinePair secondLastLines;               // on the bar before that
    std::array<int, 3> signals = {};        // of the last bar: +1, 0 or -1; a reset does not clear them
    std::array<KaseRange, 3> earlier;       // of the last three bars, newest first; a reset does not clear them
};

// Share of the upward movement in all movement of the close, in percent, smoothed.
struct MomentumPair {
    CSetStepMA upward{StepSmo, 9};
    CSetStepMA downward{StepSmo, 9};

    double Step(double close, double previousClose);
    auto Steps() { return std::tie(upward, downward); }
};

// Where the close stands in the range of the last 21 bars, in percent.
struct RangePosition {
    CSetStepMA highest{StepHighest, 21};
    CSetStepMA lowest{StepLowest, 21};

    double Step(const KaseBar& bar);
    auto Steps() { return std::tie(highest, lowest); }
};

// KaseCCSS( bar, spanFactor, lag) gives eight votes of +1, 0 or -1, and three signals with a label each. A vote
// combines which way some of four indicators point: a momentum, a histogram, a fast stochastic and a slow one, or the
// hooks of the slow one. A signal appears when one of its votes is cast and the highs and lows of the last bars confirm
// it.
//
// The parameters belong to the slow stochastic alone, which is that of KasePermStoch: it looks at the range of
// `spanFactor` * `lag` bars, and blends its values with those of `lag` bars before. Until one of them is set, the range
// is a single bar. A lag below 1 gives no output.
class CKaseCCSSOp : public Described<CKaseCCSSOp> {
    friend Described;
    static constexpr Description About = {
        .sentence = "votes and signals from a momentum, a histogram, a fast stochastic and a slow one",
        .arguments = {Takes::Bar("bar", "prices", HlcFields),
                      Takes::Count("spanFactor",
                                   "length of the slow range, in lags: 9 if only `lag` is given, one bar if neither is")
                          .From(1)
                          .Optional(),
                      Takes::Count("lag",
                                   "bars between a slow value and the earlier one it is blended with: 5 if left out")
                          .From(1)
                          .Optional()},
        .outputs =
            {{u"integer1", UnitKind::Number,
              "trend vote: 1 if momentum and slow are up, -1 if histogram and slow are down", DrawnAs::Band},
             {u"integer2", UnitKind::Number, "trend vote: 1 if fast and slow are up, -1 if both are down",
              DrawnAs::Band},
             {u"integer3", UnitKind::Number,
              "trend vote: 1 if histogram and slow are up, -1 if momentum and slow are down", DrawnAs::Band},
             {u"integer4", UnitKind::Number,
              "hook vote: 1 if histogram is up at a bottom hook, -1 if it is down at a top hook", DrawnAs::Band},
             {u"integer5", UnitKind::Number,
              "hook vote: 1 if fast is up at a bottom hook, -1 if it is down at a top hook", DrawnAs::Band},
             {u"integer6", UnitKind::Number,
              "hook vote: 1 if momentum is up at a bottom hook, -1 if it is down at a top hook", DrawnAs::Band},
             {u"integer7", UnitKind::Number,
              "reversal vote: 1 if histogram, fast and momentum are down at a bottom hook, -1 if up at a top hook",
              DrawnAs::Band},
             {u"integer8", UnitKind::Number,
              "disagreement vote: 1 if fast is up and slow down, -1 if fast is down and slow up", DrawnAs::Band},
             {u"high", UnitKind::Curve, "high of the bar", DrawnAs::Line},
             {u"low", UnitKind::Curve, "low of the bar", DrawnAs::Line},
             {u"label1", UnitKind::Curve, "signal 1 up: a trend vote, confirmed by 1 bar", DrawnAs::Marker},
             {u"label2", UnitKind::Curve, "signal 1 down: a trend vote, confirmed by 1 bar", DrawnAs::Marker},
             {u"label3", UnitKind::Curve, "signal 2 up: a hook vote, confirmed by 2 bars", DrawnAs::Marker},
             {u"label4", UnitKind::Curve, "signal 2 down: a hook vote, confirmed by 2 bars", DrawnAs::Marker},
             {u"label5", UnitKind::Curve, "signal 3 up: disagreement, confirmed by 3 bars", DrawnAs::Marker},
             {u"label6", UnitKind::Curve, "signal 3 down: disagreement, confirmed by 3 bars", DrawnAs::Marker}},
    };
    static std::u16string_view Formula() { return u"KaseCCSS( %s)"; }
    static int ArgumentOf(short) { return 0; }
    FormattedText Parameter(short n) const { return Nth(n, spanFactor, lag); }
    static std::u16string_view OutputName(short n) { return OutputNameOr(n, u"curve1"); }
    auto Steps() {
        return std::tuple_cat(momentum.Steps(), position.Steps(), span.Steps(), firstLine.Steps(), secondLine.Steps(),
                              std::tie(momentumAverage, shortExp, longExp, signalExp, positionFast, positionSlow));
    }
    int Lookback() { return LongestLookback(Steps()); }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) override;

private:
    Leans ReadIndicators(KaseCCSSState& live, const KaseBar& bar);
    Lean ReadMomentum(KaseCCSSState& live, double close);
    Lean ReadHistogram(double close);
    Lean ReadFastStochastic(const KaseBar& bar);
    LinePair StepSlowLines(KaseCCSSState& live, const KaseBar& bar);
    double RawStochastic(const KaseBar& bar);

    int spanFactor = 9;
    int lag = 5;
    MomentumPair momentum;
    CSetStepMA momentumAverage{StepSim, 15};
    CSetStepMA shortExp{StepExp, 5};
    CSetStepMA longExp{StepExp, 34};
    CSetStepMA signalExp{StepExp, 8};
    RangePosition position;
    CSetStepMA positionFast{StepSmo, 3};
    CSetStepMA positionSlow{StepSmo, 3};
    SpanSteps span;
    LineSteps firstLine;
    LineSteps secondLine;
    StateStore<KaseCCSSState> states;
};

}  // namespace sarvane
