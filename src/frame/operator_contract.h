#pragma once

// What all operators have in common: the default implementation of both interfaces, and small functions that fill a
// host's out slots and treat parameters and missing inputs.

#include "frame/description.h"
#include "frame/numbers.h"
#include "frame/text.h"
#include "sarvane/operator.h"

#include <algorithm>
#include <initializer_list>

namespace sarvane {

// Fills an out slot of a host. Null gives E_POINTER.
template <class Slot, class Value>
HRESULT Answer(Slot* slot, Value value) {
    if (!slot) return E_POINTER;
    *slot = static_cast<Slot>(value);
    return S_OK;
}

inline HRESULT AnswerUnits(ushort* kind, ushort* second, ushort* third, UnitKind unit) {
    if (!kind || !second || !third) return E_POINTER;
    *kind = static_cast<ushort>(unit);
    *second = *third = 0;
    return S_OK;
}

// Indices of SetParameter that stand for no argument of the expression.
inline constexpr short HistoryDepthIndex = -1;
inline constexpr short DigitsIndex = -2;

inline constexpr int DefaultHistoryDepth = 400;

// A length below 1, or a text that was no number, leaves a parameter unset.
constexpr int PositiveOrUnset(int length) { return length >= 1 ? length : UndefinedParam; }
// Whether any of them is unset. UndefinedParam is the lowest int, so the minimum is enough.
constexpr bool AnyUnset(std::initializer_list<int> parameters) { return IsUnset(std::min(parameters)); }
constexpr int ValueOr(int parameter, int otherwise) { return IsUnset(parameter) ? otherwise : parameter; }

// Initial ring capacity for a window of `period` values, or of `depth` while the period is bound. With some spare slots
// a ring seldom has to look whether its next slot is free.
constexpr long long WindowRoom(int period, int depth) { return ValueOr(period, depth) + 16LL; }

// The seed of input `n`: what a host hands to Reset to stand in for the input as long as no bar had a value of it.
// UndefinedValue if the host gives no seeds.
inline double NthSeed(int n, int count, const double* seed) { return count < 1 || !seed ? UndefinedValue : seed[n]; }
inline double FirstSeed(int count, const double* seed) { return NthSeed(0, count, seed); }

// One bar of an operator with one output, in which a missing input 0 is replaced by its last value. `step` is called
// with the value and returns the output. As long as there was no value at all, it isn't called and the output is
// undefined.
template <class Step>
HRESULT CarryForward(double& previous, const double* in, double* out, Step step) {
    out[0] = UndefinedValue;
    const double value = IsUndefined(in[0]) ? previous : in[0];
    if (IsUndefined(value)) return S_OK;
    out[0] = step(value);
    previous = value;
    return S_OK;
}

// An operator without arguments, inputs and outputs: an operator overrides what it has. The three methods of IUnknown
// are implemented by the server, which wraps each operator in an object with a reference count.
class CDefZelmorOp : public IZelmorOp {
public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override { return TextOut(formula, u""); }
    STDMETHODIMP SetParameter(short, const char16_t*, TextSlot*) override { return S_OK; }
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, 0); }
    STDMETHODIMP GetInputCurve(short, ushort* argument, TextSlot*) override { return Answer(argument, 0); }
    STDMETHODIMP GetInputBarType(short, TextSlot* barType, TextSlot*) override { return TextOut(barType, u""); }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 0); }
    STDMETHODIMP GetOutputName(short, TextSlot* name, TextSlot*) override { return TextOut(name, u""); }
    STDMETHODIMP GetOutputUnits(short, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, UnitKind::Number);
    }
    STDMETHODIMP GetOutputRange(int, int, uint* first, uint* last) override { return AnswerRange(first, last, 0); }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, 0); }
    STDMETHODIMP GetParameterText(short, TextSlot* text, TextSlot*) override { return TextOut(text, u""); }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, 0); }
    STDMETHODIMP Reset(int, const double*) override { return S_OK; }
    STDMETHODIMP Calculate(int, const double*, int outputCount, double* out) override {
        return AnswerUndefined(outputCount, out);
    }
    STDMETHODIMP SaveState(short) override { return S_FALSE; }
    STDMETHODIMP RestoreState(short) override { return S_FALSE; }

protected:
    ~CDefZelmorOp() = default;

    static HRESULT AnswerRange(uint* first, uint* last, uint value) {
        if (!first || !last) return E_POINTER;
        *first = value;
        *last = 1;
        return S_OK;
    }
    static HRESULT AnswerUndefined(int count, double* out) {
        if (count > 0 && !out) return E_POINTER;
        for (int i = 0; i < count; ++i) out[i] = UndefinedValue;
        return S_OK;
    }
};

// The same for an operator that also has the second interface.
class CDefZelmorOp2 : public CDefZelmorOp, public IZelmorOp2 {
public:
    STDMETHODIMP ResetBar(int, int, int, const double*) override { return S_OK; }
    STDMETHODIMP CalculateBar(int, int, const double*, int outputCount, double* outputs) override {
        return AnswerUndefined(outputCount, outputs);
    }
    STDMETHODIMP GetBarFlagA(uint* flag) override { return Answer(flag, 1); }
    STDMETHODIMP GetBarFlagB(uint* flag) override { return Answer(flag, 0); }
    STDMETHODIMP GetBarFlagC(uint* flag) override { return Answer(flag, 0); }
    STDMETHODIMP GetBarStyle(uint* style) override { return Answer(style, 3); }
    STDMETHODIMP SetPriceStep(int, const double*) override { return S_OK; }

protected:
    ~CDefZelmorOp2() = default;
};

}  // namespace sarvane
