#pragma once

#include "frame/bar_inputs.h"
#include "frame/inner_steps.h"
#include "frame/operator_contract.h"
#include "frame/sliding_array.h"
#include "frame/state_store.h"
#include "kase/slow_lines.h"
#include "oscillators/set_step_ma.h"

#include <array>
#include <tuple>

namespace sarvane {

// What an indicator says of a bar. It can be silent, and neither holds.
struct Lean {
    bool up = false;
    bool down = false;
};

struct Leans {
    Lean momentum;
    Lean histogram;
    Lean fast;
    Lean slow;
    Lean hook;  // of the slow lines: up at a bottom, down at a top
};

struct KaseRange {
    double high = UndefinedValue;
    double low = UndefinedValue;
};

// A stochastic on a bar: a line and the smoother one behind it.
struct LinePair {
    double first = UndefinedValue;
    double second = UndefinedValue;
};

struct KaseCCSSState {
    KaseBar previous;                       // last bar that was used
    double momentumClose = UndefinedValue;  // previous close of the momentum
    SlidingArray<double> firstBlend;        // the last `lag` results of the first blend
    SlidingArray<double> secondBlend;       // the last `lag` results of the second blend
    LinePair lastLines;                     // slow lines of the last bar
    LinePair secondLastLines;
    std::array<int, 3> signals = {};   // +1, 0 or -1; they run on across a reset, as `earlier` does
    std::array<KaseRange, 3> earlier;  // of the last bars, newest first
};

// Share of upward movement in the movement of the close, in percent.
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

// KaseCCSS( bar, spanFactor, lag) is a board of signals. Momentum, an oscillator's histogram, a fast stochastic and a
// slow one with its hooks are crossed into eight votes of +1, 0 or -1, and three groups of votes, if highs and lows
// confirm them, become signals with a label each. The parameters are those of the slow stochastic, whose range spans
// a single bar until one is set. A lag below 1 gives no output.
class CKaseCCSSOp : public CDefZelmorOp {
    // Ahead of its callers, since its type is deduced.
    auto Steps() {
        return std::tuple_cat(momentum.Steps(), position.Steps(), span.Steps(), firstLine.Steps(), secondLine.Steps(),
                              std::tie(momentumAverage, shortExp, longExp, signalExp, positionFast, positionSlow));
    }

public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override { return TextOut(formula, u"KaseCCSS( %s)"); }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, 3); }
    STDMETHODIMP GetInputBarType(short input, TextSlot* barType, TextSlot*) override {
        return TextOut(barType, HighLowClose(input));
    }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 16); }
    STDMETHODIMP GetOutputName(short output, TextSlot* name, TextSlot*) override;
    STDMETHODIMP GetOutputUnits(short output, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, output < 8 ? UnitKind::Number : UnitKind::Curve);
    }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, 2); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text, NthInt(parameter, {spanFactor, lag}));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, LongestLookback(Steps())); }
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP SaveState(short slot) override { return SaveAll(slot, states, Steps()); }
    STDMETHODIMP RestoreState(short slot) override { return RestoreAll(slot, states, Steps()); }

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
