#pragma once

#include "frame/bar_inputs.h"
#include "frame/inner_steps.h"
#include "frame/operator_contract.h"
#include "frame/sliding_array.h"
#include "oscillators/guarded_value.h"
#include "oscillators/set_step_ma.h"

#include <array>

namespace sarvane {

using StochXPrices = std::array<double, 3>;  // high, low, close

// Where a bar's close stands within the recent range.
struct StochXBar {
    GuardedValue low;       // of the range
    GuardedValue range;     // from there to the high
    GuardedValue position;  // of the close above the low
    GuardedValue raw;       // position as a share of the range
};

// What the averages give on a bar.
struct StochXLines {
    GuardedValue positionAverage;
    GuardedValue rangeAverage;
    GuardedValue fast;
    GuardedValue slow;
};

struct StochXState {
    using History = SlidingArray<GuardedValue>;  // oldest first

    StochXPrices previous = {UndefinedValue, UndefinedValue, UndefinedValue};  // of the bar that was used last
    StochXLines lines;                                                         // on that bar
    // What went into simple averages, and will leave them. Only the newest entries are looked at; there may be more.
    History rawForFast;
    History rawForSlow;
    History fastHistory;
    History positions;
    History ranges;
};

// StochX_( bar, ratioMode, fastKind, slowKind, rangeLength, fastLength, slowLength) gives two prices of a stochastic
// oscillator: the close at which the raw ratio would meet the fast line, and the close at which the fast line would
// meet the slow line. The averages are linear in the close, so each is solved for it. `ratioMode` 1 averages the raw
// ratio, any other divides two averages. The kinds are simple (0), smoothed (1) or exponential (any other). Lengths
// below 1.0 are smoothing ratios.
class CStochXOp : public CDefZelmorOp {
    // Ahead of its callers, since its type is deduced.
    auto Steps() { return std::tie(lowStep, highStep, positionStep, rangeStep, rawStep, slowStep); }

public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula, FormatText("StochX_( %%s, %d, %d, %d, %f, %f, %f)", ratioMode, fastKind, slowKind,
                                           rangeLength, fastLength, slowLength));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, 3); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override {
        return Answer(argument, ArgumentBehindBar(input, 3));
    }
    STDMETHODIMP GetInputBarType(short input, TextSlot* barType, TextSlot*) override {
        return TextOut(barType, NthText(input, {HighField, LowField}));
    }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 2); }
    STDMETHODIMP GetOutputName(short output, TextSlot* name, TextSlot*) override {
        return TextOut(name, NthText(output, {u"curve1"}, u"curve2"));
    }
    STDMETHODIMP GetOutputUnits(short, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, UnitKind::Curve);
    }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, 6); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text, parameter < 3 ? NthInt(parameter, {ratioMode, fastKind, slowKind})
                                           : NthDouble(parameter - 3, {rangeLength, fastLength, slowLength}));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, LongestLookback(Steps())); }
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP SaveState(short slot) override { return SaveAll(slot, states, Steps()); }
    STDMETHODIMP RestoreState(short slot) override { return RestoreAll(slot, states, Steps()); }

private:
    void ConfigureSteps();

    StochXBar WithinRange(const StochXPrices& prices);
    StochXLines Smooth(const StochXBar& bar);
    GuardedValue CloseForFast(GuardedValue level, const StochXBar& bar, const StochXLines& before);
    GuardedValue ByRecursion(GuardedValue level, const StochXBar& bar, const StochXLines& before) const;
    GuardedValue ByWindowOfRaw(GuardedValue level, const StochXBar& bar, const StochXLines& before);
    GuardedValue ByWindowOfParts(GuardedValue level, const StochXBar& bar, const StochXLines& before);

    int ratioMode = UndefinedParam;
    int fastKind = UndefinedParam;
    int slowKind = UndefinedParam;
    double rangeLength = UndefinedValue;
    double fastLength = UndefinedValue;
    double slowLength = UndefinedValue;
    CSetStepMA lowStep;
    CSetStepMA highStep;
    CSetStepMA positionStep;
    CSetStepMA rangeStep;
    CSetStepMA rawStep;
    CSetStepMA slowStep;
    StateStore<StochXState> states;
};

}  // namespace sarvane
