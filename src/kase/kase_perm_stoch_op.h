#pragma once

#include "frame/bar_inputs.h"
#include "frame/inner_steps.h"
#include "frame/operator_contract.h"
#include "frame/sliding_array.h"
#include "frame/state_store.h"
#include "kase/slow_lines.h"

#include <tuple>

namespace sarvane {

struct KasePermStochState {
    KaseBar previous;                  // last bar that was used
    SlidingArray<double> firstBlend;   // the last `lag` results of the first blend
    SlidingArray<double> secondBlend;  // the last `lag` results of the second blend
};

// KasePermStoch( bar, rangeFactor, lag) gives two slow stochastic lines, from 0 to 100, over a range of
// rangeFactor * lag bars. Each blends its value with its own result `lag` bars back; the second starts from the blend
// of the first. Without both parameters there is no output.
class CKasePermStochOp : public CDefZelmorOp {
    // Ahead of its callers, since its type is deduced.
    auto Steps() { return std::tuple_cat(span.Steps(), firstLine.Steps(), secondLine.Steps()); }

public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula, FormatText("KasePermStoch( %%s, %d, %d)", rangeFactor, lag));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, HasParameters() ? 3 : 5); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override {
        return Answer(argument, ArgumentBehindBar(input, 3));
    }
    STDMETHODIMP GetInputBarType(short input, TextSlot* barType, TextSlot*) override {
        return TextOut(barType, HighLowClose(input));
    }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 2); }
    STDMETHODIMP GetOutputName(short output, TextSlot* name, TextSlot*) override {
        return TextOut(name, NthText(output, {u"integer1"}, u"integer2"));
    }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, HasParameters() ? 2 : 0); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text, NthInt(parameter, {rangeFactor, lag}));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, depth); }
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP SaveState(short slot) override { return SaveAll(slot, states, Steps()); }
    STDMETHODIMP RestoreState(short slot) override { return RestoreAll(slot, states, Steps()); }

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
