#pragma once

#include "frame/bar_inputs.h"
#include "frame/inner_steps.h"
#include "frame/operator_contract.h"
#include "frame/sliding_array.h"
#include "frame/state_store.h"
#include "oscillators/guarded_value.h"
#include "oscillators/set_step_ma.h"

#include <algorithm>
#include <tuple>

namespace sarvane {

// How far price has run each way over the scanned lags.
struct PriceRuns {
    double up = UndefinedValue;
    double down = UndefinedValue;
};

struct KasePeakOscState {
    SlidingArray<double> highs;  // of the recent bars, gaps included
    SlidingArray<double> lows;   // as long as `highs`
    GuardedValue close;          // of the last bar
    PriceRuns runs;              // last measured, in units of volatility
    GuardedValue last;           // oscillator of the last bar
    GuardedValue secondLast;     // oscillator of the bar before that
};

// Standard deviation of the last `count` values, from their sum and the sum of their squares. A gap is no value.
struct SumDeviation {
    explicit SumDeviation(int values) : count(values), sum(StepSum, values), squareSum(StepSum, values) {}

    double Step(double value);
    auto Steps() { return std::tie(sum, squareSum); }

    int count;
    CSetStepMA sum;
    CSetStepMA squareSum;
};

// KasePeakOsc( bar, lagFrom, lagTo, deviationFactor) is how much further price has run up than down over any of the
// lags, in units of its volatility. Around it lie two thresholds: 100 and the oscillator's own level of
// `deviationFactor` deviations above its mean. A turn beyond one is marked one bar late. Without all three parameters
// there is no output.
class CKasePeakOscOp : public CDefZelmorOp {
    // Ahead of its callers, since its type is deduced.
    auto Steps() {
        return std::tuple_cat(returnDeviation.Steps(), levelDeviation.Steps(),
                              std::tie(volatilityStep, levelStep, upStep, downStep));
    }

public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula, FormatText("KasePeakOsc( %%s, %d, %d, %f)", lagFrom, lagTo, deviationFactor));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, HasParameters() ? 3 : 6); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override {
        return Answer(argument, ArgumentBehindBar(input, 3));
    }
    STDMETHODIMP GetInputBarType(short input, TextSlot* barType, TextSlot*) override {
        return TextOut(barType, HighLowClose(input));
    }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 8); }
    STDMETHODIMP GetOutputName(short output, TextSlot* name, TextSlot*) override {
        return TextOut(
            name, NthText(output,
                          {u"integer1", u"integer2", u"integer3", u"integer4", u"integer5", u"high", u"low", u"label1"},
                          u"curve1"));
    }
    STDMETHODIMP GetOutputUnits(short output, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, output < 5 ? UnitKind::Number : UnitKind::Curve);
    }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, HasParameters() ? 3 : 0); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text, parameter < 2 ? NthInt(parameter, {lagFrom, lagTo})
                                           : NthDouble(parameter - 2, {deviationFactor}));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, std::min(StepBars(), depth)); }
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP SaveState(short slot) override { return SaveAll(slot, states, Steps()); }
    STDMETHODIMP RestoreState(short slot) override { return RestoreAll(slot, states, Steps()); }

private:
    bool HasParameters() const { return !IsUnset(lagFrom) && !IsUnset(lagTo) && !IsUndefined(deviationFactor); }
    int LongestLag() const { return std::max(lagFrom, lagTo); }
    int StepBars();
    PriceRuns MeasureRuns(KasePeakOscState& live, GuardedValue close);
    PriceRuns LongestRuns(const KasePeakOscState& live) const;
    GuardedValue Level(GuardedValue oscillator);

    int depth = DefaultHistoryDepth;
    int lagFrom = UndefinedParam;
    int lagTo = UndefinedParam;
    double deviationFactor = UndefinedValue;
    SumDeviation returnDeviation{9};
    CSetStepMA volatilityStep{StepSim, 30};
    CSetStepMA upStep{StepSim, 3};
    CSetStepMA downStep{StepSim, 3};
    SumDeviation levelDeviation{50};
    CSetStepMA levelStep{StepSim, 50};
    StateStore<KasePeakOscState> states;
};

}  // namespace sarvane
