#pragma once

// What a class of operators tells of itself before an object exists: what it computes, which arguments it takes and what
// its outputs mean. A host uses it to list operators, to check arguments by name and range, and to draw outputs well.
//
// The class factory answers this interface beside IClassFactory:
//
//     ComPtr<IZelmorClassInfo> info;
//     DllGetClassObject(ClassId::SimAvgOp, IID_IZelmorClassInfo, info.Slot());
//
// Every method returns a status: 0, E_POINTER for a null out slot, E_INVALIDARG for a number out of range,
// E_OUTOFMEMORY. A failing call leaves its out slots as they were. Texts are NUL-terminated, 16 bits wide, in English,
// and the caller frees them with CoTaskMemFree. Any thread may call.

#include "sarvane/component.h"
#include "sarvane/identifier.h"
#include "sarvane/operator.h"
#include "sarvane/values.h"

namespace sarvane {

inline constexpr GUID IID_IZelmorClassInfo = "8F2D6A10-3C57-4E0B-9B61-5A7C41D90E23"_id;

// What an argument of an expression is.
enum class ArgumentKind : ushort {
    Curve = 1,   // a value a bar
    Bar = 2,     // whole bars, of which the operator reads the prices that GetInputBarType names
    Count = 3,   // a whole number
    Number = 4,  // a number
    Switch = 5,  // off for the text "0", on for any other
    Word = 6,    // one of the texts of GetWord
};

// How an argument is used: bits of GetArgumentUse.
enum ArgumentUse : ushort {
    ArgumentIsOptional = 1,  // the operator gives results without it
    ArgumentCanBeBound = 2,  // a curve may stand in its place, which is then read on every bar
};

// How an output is best drawn.
enum class DrawnAs : ushort {
    Line = 1,       // from value to value
    Step = 2,       // level until the next value, as a stop or a count
    Band = 3,       // a row of coloured cells, as a vote of -1, 0 or 1
    Histogram = 4,  // a column from zero to the value
    Marker = 5,     // a mark or a text at its bar
};

struct IZelmorClassInfo : IUnknown {
    // The name under which expressions call the operator, such as "Sim".
    virtual HRESULT STDMETHODCALLTYPE GetKeyword(TextSlot* keyword) = 0;
    // The name of the class, such as "SimAvgOp": its ProgIDs are N.N and N.N.1.
    virtual HRESULT STDMETHODCALLTYPE GetName(TextSlot* name) = 0;
    // What the operator computes, in one sentence without a full stop.
    virtual HRESULT STDMETHODCALLTYPE GetSentence(TextSlot* sentence) = 0;

    // How many arguments the operator takes at most. They are numbered from 0, as in IZelmorOp::SetParameter.
    virtual HRESULT STDMETHODCALLTYPE GetArgumentCount(ushort* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetArgumentName(short argument, TextSlot* name) = 0;
    // An ArgumentKind.
    virtual HRESULT STDMETHODCALLTYPE GetArgumentKind(short argument, ushort* kind) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetArgumentMeaning(short argument, TextSlot* meaning) = 0;
    // The text that stands for an argument that is left out; empty if there is none.
    virtual HRESULT STDMETHODCALLTYPE GetArgumentDefault(short argument, TextSlot* text) = 0;
    // The least and the greatest number that the operator takes as it stands; infinite where there is no limit.
    virtual HRESULT STDMETHODCALLTYPE GetArgumentRange(short argument, double* least, double* greatest) = 0;
    // Bits of ArgumentUse.
    virtual HRESULT STDMETHODCALLTYPE GetArgumentUse(short argument, ushort* use) = 0;
    // The texts that an argument is chosen from, and what each means. 0 for arguments of other kinds than Word.
    virtual HRESULT STDMETHODCALLTYPE GetWordCount(short argument, ushort* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetWord(short argument, short word, TextSlot* text, TextSlot* meaning) = 0;

    // The outputs, in the order of IZelmorOp::Calculate.
    virtual HRESULT STDMETHODCALLTYPE GetOutputCount(ushort* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetOutputName(short output, TextSlot* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetOutputMeaning(short output, TextSlot* meaning) = 0;
    // A DrawnAs.
    virtual HRESULT STDMETHODCALLTYPE GetOutputDrawing(short output, ushort* drawing) = 0;
};

}  // namespace sarvane
