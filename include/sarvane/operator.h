#pragma once

// The two interfaces of an operator.
//
// Calling order. For each operator that it runs, a host
// 1. makes an object: DllGetClassObject gives the class factory for an id of class_ids.h, and the factory's
//    CreateInstance the object, as an IZelmorOp;
// 2. calls SetParameter: with index -1, the history depth, first; with -2, the digits of precision, if it wants others
//    than 6; then with each argument that is given, in rising order. The order matters: some classes size their windows
//    by the history depth at that moment, or test an argument against an earlier one. Three, DeMOp, TDREIOp and
//    TDReboOp, give no output before SetParameter was called at least once;
// 3. asks for inputs and outputs, and for whatever else GetFormula to GetLookback tell. The number of inputs depends on
//    the parameters. These methods change nothing and may be called at any later time, too;
// 4. calls Reset, which starts a run;
// 5. calls Calculate once for each bar, oldest bar first, with SaveState and RestoreState between any two bars.
//    Reset starts a new run at any time. It must be called if SetParameter was called since the last Reset;
// 6. calls Release.
// Ten classes also have IZelmorOp2. There, step 4 is ResetBar and step 5 CalculateBar.
//
// Threads. One thread at a time calls an object, also for AddRef and Release. It may be another thread each time.
//
// Texts are NUL-terminated, 16 bits a character. A text that a method hands out belongs to the caller, who frees it
// with CoTaskMemFree. A text that is handed in still belongs to the caller and is read during the call only; null is
// read as the empty text. `error` may be null. One method writes it: SetParameter of TimeAvgOp when it answers E_FAIL.
// All others leave it as it was, so a host sets it to null before the call.
//
// Arrays belong to the host, and are used during the call only. Methods rely on the sizes that are given below and
// compare them with nothing. `in` and `out` must not overlap.
//
// Statuses. No method lets an exception out. A status below 0 is a failure, and leaves out slots as they were.
// - S_OK (0): done. Bad text of a parameter and bad values of a bar are no failure: they lead to unset parameters and
//   to outputs of UndefinedValue.
// - S_FALSE (1): SaveState with a negative slot, RestoreState with a slot that does not exist or whose last save
//   failed. Nothing has changed.
// - E_POINTER: an out slot other than `error` is null, or `in` or `out` of a bar is. Nothing has changed.
// - E_INVALIDARG: from MedianOp alone. SetParameter with a window (argument 1) that is no number or below 1, and
//   GetOutputName with a number out of range; SaveState and RestoreState where others answer S_FALSE, except for a slot
//   whose last save failed. Nothing has changed.
// - E_FAIL: from TimeAvgOp alone. SetParameter with a period (argument 2) that is no number or below 1. The run goes on
//   with the period that it has; a run that is started later gives no output, until there is a valid period.
// - E_OUTOFMEMORY: there is too little memory, or a parameter asks for a window longer than any can be. An operator may
//   notice that only in a later call, such as Calculate. What holds then depends on the method:
//   - SetParameter: the parameter has its old value.
//   - Reset, ResetBar, Calculate, CalculateBar, RestoreState: the running state is lost, and `out` holds anything. From
//     then on every bar, every SaveState, and RestoreState of slot 0 answers E_OUTOFMEMORY, until a call of Reset
//     (ResetBar), or RestoreState of another slot, answers S_OK: the object is then as good as new. Snapshots are not
//     affected.
//   - SaveState: the slot can't be restored until it is saved again, and neither can slots that this call would have
//     been the first to make. The run goes on.
//   - All others: nothing has changed.

#include "sarvane/component.h"
#include "sarvane/identifier.h"
#include "sarvane/values.h"

namespace sarvane {

using TextSlot = char16_t*;

inline constexpr GUID IID_IZelmorOp = "22A86291-1412-11D1-B172-0000C0D9BDE9"_id;
inline constexpr GUID IID_IZelmorOp2 = "55B36563-7359-11D2-8ED1-00E02910366C"_id;

// Describes an operator and steps it over the bars of a series.
//
// "Number n" of an input, output or parameter counts from 0. A number out of range is no failure, except as told above
// for MedianOp: the answer is then that for another number, or empty.
struct IZelmorOp : IUnknown {
    // The operator's expression in its standard form, such as "Sim( %s, 5)": "%s" stands for the text of each curve,
    // and -2147483648 for a parameter that is unset.
    virtual HRESULT STDMETHODCALLTYPE GetFormula(TextSlot* formula, TextSlot* error) = 0;

    // Reads parameter `index` from `value`, the text that stands for it in the expression. `index` is the place of the
    // argument, counted from 0 over all arguments, curves included; or -1 for the history depth in bars (400 unless
    // set), or -2 for the digits of precision (4 to 15, 6 unless set) of the averages that round their output. Any
    // other index is ignored, with S_OK.
    // A text that is no number, or a number out of range, makes the parameter unset in most classes. If a curve can
    // stand for that parameter, it is then bound: it becomes one more input, and Calculate reads it from there on every
    // bar. IZelmorClassInfo (class_info.h) tells kind, range and default of each argument, and whether it can be bound.
    // Failures: E_INVALIDARG, E_FAIL and E_OUTOFMEMORY, as told above.
    virtual HRESULT STDMETHODCALLTYPE SetParameter(short index, const char16_t* value, TextSlot* error) = 0;

    // How many values Calculate reads: the size of `in` and `seed`.
    virtual HRESULT STDMETHODCALLTYPE GetInputCount(ushort* count, TextSlot* error) = 0;
    // Which argument of the expression feeds an input. The prices of a bar are inputs of one and the same argument.
    virtual HRESULT STDMETHODCALLTYPE GetInputCurve(short input, ushort* argument, TextSlot* error) = 0;
    // Which price of the argument's bar feeds an input: "BAR_TYPE_OPEN", "BAR_TYPE_HIGH", "BAR_TYPE_LOW" or
    // "BAR_TYPE_CLOSE"; the empty text if the argument is a plain curve.
    virtual HRESULT STDMETHODCALLTYPE GetInputBarType(short input, TextSlot* barType, TextSlot* error) = 0;

    // How many values Calculate writes: the size of `out`.
    virtual HRESULT STDMETHODCALLTYPE GetOutputCount(ushort* count, TextSlot* error) = 0;
    // One of "curve1" to "curve4", "integer1" to "integer8", "label1" to "label6", "percent", "open", "high", "low" and
    // "close". The value of an output named "label..." is a text packed into a double: see chart_label.h.
    virtual HRESULT STDMETHODCALLTYPE GetOutputName(short output, TextSlot* name, TextSlot* error) = 0;
    // What an output is measured in. `kind` is 1 for the units of the input curve, 2 for a deviation in these units, 3
    // for a number of its own, 8 for the product and 9 for the quotient of two curves' units. `second` and `third` are
    // always 0.
    virtual HRESULT STDMETHODCALLTYPE GetOutputUnits(short output, ushort* kind, ushort* second, ushort* third,
                                                     TextSlot* error) = 0;
    // `first` is 0 except: TDReboOp, its shortest lag in bars; VolStopOp, 1 if its lag is not 0. `last` is always 1.
    // The two leading numbers are ignored. Failure: E_POINTER if either slot is null.
    virtual HRESULT STDMETHODCALLTYPE GetOutputRange(int unused1, int unused2, uint* first, uint* last) = 0;

    // How many parameters have a constant value that can be shown.
    virtual HRESULT STDMETHODCALLTYPE GetParameterCount(ushort* count, TextSlot* error) = 0;
    // The value of a parameter as text. `parameter` counts from 0 over the parameters, which leaves out the curves
    // ahead of them: it is not the index of SetParameter. The empty text for a number out of range.
    virtual HRESULT STDMETHODCALLTYPE GetParameterText(short parameter, TextSlot* text, TextSlot* error) = 0;

    // How many bars of history the operator needs before its output means something.
    virtual HRESULT STDMETHODCALLTYPE GetLookback(uint* bars, TextSlot* error) = 0;

    // Starts a run: the operator forgets all bars before. Parameters stay, and so do snapshots. `seed` is null with a
    // `count` of 0 or less; or it holds one value for each input, with `count` as their number: each stands in for its
    // input as long as bars lack a value there. Some classes ignore the seed. Failure: E_OUTOFMEMORY.
    virtual HRESULT STDMETHODCALLTYPE Reset(int count, const double* seed) = 0;

    // Takes in one bar. `in` holds one value for each input, UndefinedValue for a missing one; a NaN is a value. Each
    // output of the bar is written to `out`, UndefinedValue where there is none. `inCount` and `outCount` are the sizes
    // of the arrays: GetInputCount and GetOutputCount. Failures: E_POINTER, E_OUTOFMEMORY. For a class with IZelmorOp2
    // all outputs are UndefinedValue, since CalculateBar takes in its bars.
    virtual HRESULT STDMETHODCALLTYPE Calculate(int inCount, const double* in, int outCount, double* out) = 0;

    // SaveState copies the running state to snapshot `slot`, 1 to 32767. Slots below it that do not exist yet are made,
    // too, each with the state of a new object. RestoreState copies a snapshot back to the running state, as often as
    // wanted: the next bar is then the one that followed the save. Slot 0 is the running state itself. Parameters are
    // not part of a snapshot. Snapshots last as long as the object.
    // Besides S_OK, both can answer S_FALSE, E_INVALIDARG and E_OUTOFMEMORY, as told above.
    // Three classes differ:
    // - MedianOp and VolStopOp: SaveState removes all slots above `slot`. Slot 0 of MedianOp is a snapshot like others.
    //   ResetBar of VolStopOp removes all snapshots; slot 1 then holds the state of a new object.
    // - TimeAvgOp keeps no snapshots: SaveState does nothing, and RestoreState, with any slot, takes back the last
    //   value, once. Both answer S_OK.
    virtual HRESULT STDMETHODCALLTYPE SaveState(short slot) = 0;
    virtual HRESULT STDMETHODCALLTYPE RestoreState(short slot) = 0;
};

// The second interface of ten classes: bar arithmetic (BarAdd, BarSub, BarMul, BarDiv, SBarAdd, SBarSub, SBarMul,
// SBarDiv), TDReboOp and VolStopOp. QueryInterface of their IZelmorOp gives it; both belong to the same object. A host
// describes these operators, sets their parameters, saves and restores them through IZelmorOp. Reset of IZelmorOp does
// nothing there.
struct IZelmorOp2 : IUnknown {
    // Starts a run, as IZelmorOp::Reset does, with the same `count` and `seed`.
    // `mode` is read by bar arithmetic alone: with 1, a missing input repeats the one before; with any other number it
    // stays missing. `lastBar` is read by TDReboOp alone: the index of the last bar of the series, counted as `bar` of
    // CalculateBar is. Failure: E_OUTOFMEMORY.
    virtual HRESULT STDMETHODCALLTYPE ResetBar(int mode, int lastBar, int count, const double* seed) = 0;

    // Takes in one bar, as IZelmorOp::Calculate does, with arrays of the same sizes. `bar` is its index, which rises by
    // 1 from bar to bar; TDReboOp alone reads it. Failures: E_POINTER, E_OUTOFMEMORY.
    virtual HRESULT STDMETHODCALLTYPE CalculateBar(int bar, int inputCount, const double* inputs, int outputCount,
                                                   double* outputs) = 0;

    // Fixed codes for the host; they have no effect on the operator.
    //                    A   B   C   Style
    //   bar arithmetic   0   1   0   3
    //   TDReboOp         1   0   0   2
    //   VolStopOp        1   0   0   3
    virtual HRESULT STDMETHODCALLTYPE GetBarFlagA(uint* flag) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBarFlagB(uint* flag) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBarFlagC(uint* flag) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBarStyle(uint* style) = 0;

    // Hands over the price step, which VolStopOp alone reads, to round its stops. `values` has `count` elements. The
    // step is `values[0]` if there are at least 2; with fewer, with null, and before the first call it is 1.0. It holds
    // from the next bar on and stays through ResetBar. Always S_OK.
    virtual HRESULT STDMETHODCALLTYPE SetPriceStep(int count, const double* values) = 0;
};

}  // namespace sarvane
