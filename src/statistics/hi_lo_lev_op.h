#pragma once

#include "frame/history_ring.h"
#include "frame/operator_contract.h"
#include "frame/state_store.h"

namespace sarvane {

// What both curves held on a bar. Without initialisers, so that a new ring leaves its cells untouched.
struct LevelBar {
    double key;
    double value;
};

struct LevelState {
    LevelBar previous = {UndefinedValue, UndefinedValue};  // last bar that was taken in
    BasicHistoryRing<LevelBar> window;
};

// HiLevel( value, key, period, keepGaps) and LoLevel find the extreme of the key curve over the last `period` bars, and
// give what the value curve held on that bar and how many bars ago that was. Of equal keys the oldest counts. A period
// that is no constant becomes a third input, read on every bar. With `keepGaps` missing inputs enter the window as they
// are, else they repeat the bar before. `Extreme` says which way the keys are compared.
template <class Extreme>
class CLevOp : public CDefZelmorOp {
public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula, FormatText("%s( %%s, %d, %d)", Extreme::Name, period, keepGaps));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, IsUnset(period) ? 3 : 2); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override { return Answer(argument, input); }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 2); }
    STDMETHODIMP GetOutputName(short output, TextSlot* name, TextSlot*) override {
        return TextOut(name, NthText(output, {u"curve1"}, u"integer1"));
    }
    STDMETHODIMP GetOutputUnits(short output, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, output == 1 ? UnitKind::Number : UnitKind::Curve);
    }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, IsUnset(period) ? 1 : 2); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text, NthInt(parameter, {period, keepGaps}));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, ValueOr(period, depth)); }
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP SaveState(short slot) override { return states.Save(slot); }
    STDMETHODIMP RestoreState(short slot) override { return states.Restore(slot); }

    // How missing inputs are treated, 0 or 1. No interface declares these two, but they are part of the method table.
    virtual STDMETHODIMP GetFillsGaps(uint* flag) { return Answer(flag, !keepGaps); }
    virtual STDMETHODIMP GetKeepsGaps(uint* flag) { return Answer(flag, keepGaps); }

private:
    void FindExtreme(const BasicHistoryRing<LevelBar>& window, int wanted, double* out) const;

    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    bool keepGaps = false;
    StateStore<LevelState> states;
};

struct HighestKey {
    static constexpr const char* Name = "HiLevel";
    static bool IsBeyond(double key, double best) { return key > best; }
};

struct LowestKey {
    static constexpr const char* Name = "LoLevel";
    static bool IsBeyond(double key, double best) { return key < best; }
};

using CHiLevOp = CLevOp<HighestKey>;
using CLoLevOp = CLevOp<LowestKey>;

}  // namespace sarvane
