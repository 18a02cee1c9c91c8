#pragma once

// The two interfaces of an operator. All methods return a status, 0 for success, and none lets an exception out. One
// thread at a time calls an object.
//
// E_OUTOFMEMORY means that there is too little memory, or that a parameter asks for a window longer than any can be; what
// the outputs hold is then undefined. It has the following consequences:
// - SetParameter: the parameter keeps its old value.
// - Reset, Calculate, RestoreState, ResetBar, CalculateBar: the running state is lost. Every further bar, and every
//   SaveState, answers E_OUTOFMEMORY until a new run is started or a snapshot restored; the object is then as good as
//   new. Snapshots are not affected.
// - SaveState: the slot can't be restored until it is saved again. The running state goes on.
// - All other methods: nothing has changed.
//
// Texts are NUL-terminated and 16 bits wide. A text that a call hands out is the caller's, who frees it with
// CoTaskMemFree; a text that is handed in is read during the call only, and null reads as the empty text. A null out
// slot, and a null array of inputs or outputs, gives E_POINTER. `error` may be null, as may `seed`.

#include "sarvane/component.h"
#include "sarvane/identifier.h"
#include "sarvane/values.h"

namespace sarvane {

using TextSlot = char16_t*;

inline constexpr GUID IID_IZelmorOp = "22A86291-1412-11D1-B172-0000C0D9BDE9"_id;
inline constexpr GUID IID_IZelmorOp2 = "55B36563-7359-11D2-8ED1-00E02910366C"_id;

// Describes an operator and steps it over the bars of a series.
//
// A host sets the parameters first, history depth ahead of the others and these in rising order; it then asks for
// inputs and outputs, calls `Reset`, and calls `Calculate` once a bar, oldest bar first, with snapshots in between.
struct IZelmorOp : IUnknown {
    // The operator's canonical expression, such as "Sim( %s, 5)": "%s" stands for the text of a curve.
    virtual HRESULT STDMETHODCALLTYPE GetFormula(TextSlot* formula, TextSlot* error) = 0;

    // Stores argument `index` of the expression from its text. Arguments count from 0, curves first. -1 is the history
    // depth in bars, -2 the digits of precision. A text that is no number, or a number out of range, leaves the
    // parameter unset, which binds it to a curve where the operator can do that. Unknown indices are ignored. A failing
    // status may come with a text in `error`, which the caller frees.
    virtual HRESULT STDMETHODCALLTYPE SetParameter(short index, const char16_t* value, TextSlot* error) = 0;

    // How many values `Calculate` reads.
    virtual HRESULT STDMETHODCALLTYPE GetInputCount(ushort* count, TextSlot* error) = 0;
    // Which argument of the expression feeds `input`.
    virtual HRESULT STDMETHODCALLTYPE GetInputCurve(short input, ushort* argument, TextSlot* error) = 0;
    // Which field of that argument's bar feeds `input`: "BAR_TYPE_OPEN", "BAR_TYPE_HIGH", "BAR_TYPE_LOW",
    // "BAR_TYPE_CLOSE", or the empty text for a plain value.
    virtual HRESULT STDMETHODCALLTYPE GetInputBarType(short input, TextSlot* barType, TextSlot* error) = 0;

    // How many values `Calculate` writes.
    virtual HRESULT STDMETHODCALLTYPE GetOutputCount(ushort* count, TextSlot* error) = 0;
    // "curve1", "integer1", "label1", "percent", "open", "high", "low" or "close", with other numbers where there are
    // several. Outputs named "label..." carry packed labels: see chart labels.
    virtual HRESULT STDMETHODCALLTYPE GetOutputName(short output, TextSlot* name, TextSlot* error) = 0;
    // `kind` is 1 for the units of the input curve, 2 for a deviation in these units, 3 for a number of its own, 8 for
    // a product and 9 for a quotient of two curves. `second` and `third` are 0.
    virtual HRESULT STDMETHODCALLTYPE GetOutputUnits(short output, ushort* kind, ushort* second, ushort* third,
                                                     TextSlot* error) = 0;
    // `first` is by how many bars the operator delays what it reads, 0 for most; `last` is 1. The two numbers in front
    // are not read.
    virtual HRESULT STDMETHODCALLTYPE GetOutputRange(int unused1, int unused2, uint* first, uint* last) = 0;

    // How many parameters have a constant value to show.
    virtual HRESULT STDMETHODCALLTYPE GetParameterCount(ushort* count, TextSlot* error) = 0;
    // The value of a parameter, numbered from 0 among the parameters alone.
    virtual HRESULT STDMETHODCALLTYPE GetParameterText(short parameter, TextSlot* text, TextSlot* error) = 0;

    // Bars of history before the output is meaningful.
    virtual HRESULT STDMETHODCALLTYPE GetLookback(uint* bars, TextSlot* error) = 0;

    // Starts a run. `seed` holds `count` values, one for each input, that stand in for missing first values; a count
    // below 1 means that there are none. Snapshots stay.
    virtual HRESULT STDMETHODCALLTYPE Reset(int count, const double* seed) = 0;

    // Takes in one bar. `in` holds a value for each input of GetInputCount, UndefinedValue for a missing one, and `out`
    // has room for each output of GetOutputCount; the operator relies on these counts.
    virtual HRESULT STDMETHODCALLTYPE Calculate(int inCount, const double* in, int outCount, double* out) = 0;

    // Copy the running state to snapshot `slot` and back. Slot 0 is the running state itself. Status 1 for a slot
    // that does not exist or that could not be saved, with nothing changed. Parameters are not part of a snapshot.
    virtual HRESULT STDMETHODCALLTYPE SaveState(short slot) = 0;
    virtual HRESULT STDMETHODCALLTYPE RestoreState(short slot) = 0;
};

// What operators offer besides that work on whole bars, know a bar's index or want a price step. A host drives such an
// operator by `ResetBar` and `CalculateBar` in the place of `Reset` and `Calculate`.
struct IZelmorOp2 : IUnknown {
    // Starts a run. `mode` 1 lets a missing input repeat the one before, for bar arithmetic; `lastBar` is the index of
    // the series' last bar; `count` and `first` are as in IZelmorOp::Reset.
    virtual HRESULT STDMETHODCALLTYPE ResetBar(int mode, int lastBar, int count, const double* first) = 0;

    // Takes in the bar with index `bar`. The arrays are as in IZelmorOp::Calculate.
    virtual HRESULT STDMETHODCALLTYPE CalculateBar(int bar, int inputCount, const double* inputs, int outputCount,
                                                   double* outputs) = 0;

    // Numbers that tell the host how to treat the operator.
    virtual HRESULT STDMETHODCALLTYPE GetBarFlagA(uint* flag) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBarFlagB(uint* flag) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBarFlagC(uint* flag) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBarStyle(uint* style) = 0;

    // Hands over the price step to round to: `values[0]` if `count` is at least 2, else the step is 1.0.
    virtual HRESULT STDMETHODCALLTYPE SetPriceStep(int count, const double* values) = 0;
};

}  // namespace sarvane
