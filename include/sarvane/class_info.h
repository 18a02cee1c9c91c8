#pragma once

// What a class tells of its operators before one exists: what they compute, which arguments they take, and what their
// outputs mean. A host uses it to list operators, to check arguments by kind and range, and to choose how to draw
// outputs.
//
// The class factory answers this interface beside IClassFactory:
//
//     ComPtr<IZelmorClassInfo> info;
//     DllGetClassObject(ClassId::SimAvgOp, IID_IZelmorClassInfo, info.Slot());
//
// Every method returns S_OK; E_POINTER if an out slot is null; E_INVALIDARG if the number of an argument, word or
// output is out of range; or E_OUTOFMEMORY. A call that fails leaves its out slots as they were. Numbers count from 0.
// Texts are in English, NUL-terminated, 16 bits a character; the caller frees them with CoTaskMemFree. All threads may
// call at once.

#include "sarvane/component.h"
#include "sarvane/identifier.h"
#include "sarvane/operator.h"
#include "sarvane/values.h"

namespace sarvane {

inline constexpr GUID IID_IZelmorClassInfo = "8F2D6A10-3C57-4E0B-9B61-5A7C41D90E23"_id;

// What an argument of an expression is.
enum class ArgumentKind : ushort {
    Curve = 1,   // one value for each bar
    Bar = 2,     // whole bars; IZelmorOp::GetInputBarType names the prices that the operator reads
    Count = 3,   // a whole number
    Number = 4,  // any number, also one that is not whole
    Switch = 5,  // off for the text "0", on for any other
    Word = 6,    // one of the texts of GetWord
};

// How an argument is used: bits of GetArgumentUse.
enum ArgumentUse : ushort {
    ArgumentIsOptional = 1,  // the operator gives results without it
    ArgumentCanBeBound = 2,  // a curve may stand for it; the operator then reads it on every bar
};

// How an output is best drawn.
enum class DrawnAs : ushort {
    Line = 1,       // a line from each value to the next
    Step = 2,       // a level line up to the next value, as for a stop or a count
    Band = 3,       // a row of coloured cells, as for a vote of -1, 0 or 1
    Histogram = 4,  // a column from zero to the value
    Marker = 5,     // a mark or a text at the bar
};

struct IZelmorClassInfo : IUnknown {
    // The name under which expressions call the operator, such as "Sim".
    virtual HRESULT STDMETHODCALLTYPE GetKeyword(TextSlot* keyword) = 0;
    // The name of the class, such as "SimAvgOp": its ProgIDs are N.N and N.N.1.
    virtual HRESULT STDMETHODCALLTYPE GetName(TextSlot* name) = 0;
    // What the operator computes, in one sentence without a full stop.
    virtual HRESULT STDMETHODCALLTYPE GetSentence(TextSlot* sentence) = 0;

    // How many arguments the operator takes at most. They have the numbers that IZelmorOp::SetParameter takes.
    virtual HRESULT STDMETHODCALLTYPE GetArgumentCount(ushort* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetArgumentName(short argument, TextSlot* name) = 0;
    // `kind` is an ArgumentKind.
    virtual HRESULT STDMETHODCALLTYPE GetArgumentKind(short argument, ushort* kind) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetArgumentMeaning(short argument, TextSlot* meaning) = 0;
    // The text that an argument has if it is left out. Empty if there is no default.
    virtual HRESULT STDMETHODCALLTYPE GetArgumentDefault(short argument, TextSlot* text) = 0;
    // The least and the greatest number that the operator accepts without changing or refusing it; infinite where there
    // is no limit.
    virtual HRESULT STDMETHODCALLTYPE GetArgumentRange(short argument, double* least, double* greatest) = 0;
    // `use` is a combination of the bits of ArgumentUse.
    virtual HRESULT STDMETHODCALLTYPE GetArgumentUse(short argument, ushort* use) = 0;
    // For an argument of the kind Word: the texts that it may be, and what each means. Other kinds have a count of 0.
    virtual HRESULT STDMETHODCALLTYPE GetWordCount(short argument, ushort* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetWord(short argument, short word, TextSlot* text, TextSlot* meaning) = 0;

    // The outputs, in the order of IZelmorOp::Calculate.
    virtual HRESULT STDMETHODCALLTYPE GetOutputCount(ushort* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetOutputName(short output, TextSlot* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetOutputMeaning(short output, TextSlot* meaning) = 0;
    // `drawing` is a DrawnAs.
    virtual HRESULT STDMETHODCALLTYPE GetOutputDrawing(short output, ushort* drawing) = 0;
};

}  // namespace sarvane
