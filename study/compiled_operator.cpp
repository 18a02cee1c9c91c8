#include "compiled_operator.h"

#include "language/parser.h"
#include "platform/guarded_call.h"

#include <algorithm>

namespace sarvane::study {
namespace {

// Names of columns that are prices, and the fields that a host feeds them from.
struct PriceField {
    std::string_view column, field;
};
constexpr PriceField PriceFields[] = {
    {"open", "BAR_TYPE_OPEN"}, {"high", "BAR_TYPE_HIGH"}, {"low", "BAR_TYPE_LOW"}, {"close", "BAR_TYPE_CLOSE"}};

template <class Slot, class Value>
HRESULT Answer(Slot* slot, Value value) {
    if (!slot) return E_POINTER;
    *slot = static_cast<Slot>(value);
    return S_OK;
}

}  // namespace

CompiledOperator::CompiledOperator(std::unique_ptr<Compilation> compiled)
    : compilation(std::move(compiled)), inputs(compilation->UsedColumns()),
      row(compilation->columns.size(), UndefinedValue) {
    const Operand& expression = compilation->expressions.front();
    for (const NamedOutput& output : expression.outputs)
        outputs.push_back({output.name, output.place, output.unitKind});
    if (outputs.empty()) outputs.push_back({"curve1", expression.value, expression.unitKind});
}

STDMETHODIMP CompiledOperator::QueryInterface(const GUID& iid, void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (iid == IID_IUnknown || iid == IID_IZelmorOp) *object = static_cast<IZelmorOp*>(this);
    if (iid == IID_IZelmorOp2) *object = static_cast<IZelmorOp2*>(this);
    if (!*object) return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) CompiledOperator::Release() {
    const ULONG left = --references;
    if (left == 0) delete this;
    return left;
}

HRESULT CompiledOperator::HandOut(TextSlot* slot, std::string_view text) const {
    if (!slot) return E_POINTER;
    return Guarded([&] {
        const TextSlot handed = compilation->library->Operators().Hand(text);
        if (!handed) return E_OUTOFMEMORY;
        *slot = handed;
        return S_OK;
    });
}

STDMETHODIMP CompiledOperator::GetFormula(TextSlot* formula, TextSlot*) {
    return HandOut(formula, compilation->expressions.front().text);
}

STDMETHODIMP CompiledOperator::GetInputCount(ushort* count, TextSlot*) { return Answer(count, inputs.size()); }

STDMETHODIMP CompiledOperator::GetInputCurve(short input, ushort* argument, TextSlot*) {
    const bool isInput = input >= 0 && static_cast<std::size_t>(input) < inputs.size();
    return Answer(argument, isInput ? inputs[static_cast<std::size_t>(input)] : 0);
}

STDMETHODIMP CompiledOperator::GetInputBarType(short input, TextSlot* barType, TextSlot*) {
    std::string_view field;
    if (input >= 0 && static_cast<std::size_t>(input) < inputs.size()) {
        const std::string& column = compilation->columns[inputs[static_cast<std::size_t>(input)]];
        for (const PriceField& price : PriceFields) {
            if (EqualIgnoringCase(price.column, column)) field = price.field;
        }
    }
    return HandOut(barType, field);
}

STDMETHODIMP CompiledOperator::GetOutputCount(ushort* count, TextSlot*) { return Answer(count, outputs.size()); }

STDMETHODIMP CompiledOperator::GetOutputName(short output, TextSlot* name, TextSlot*) {
    const bool isOutput = output >= 0 && static_cast<std::size_t>(output) < outputs.size();
    return HandOut(name, isOutput ? std::string_view(outputs[static_cast<std::size_t>(output)].name) : "");
}

STDMETHODIMP CompiledOperator::GetOutputUnits(short output, ushort* kind, ushort* second, ushort* third, TextSlot*) {
    if (!kind || !second || !third) return E_POINTER;
    const auto last = static_cast<int>(outputs.size()) - 1;
    *kind = static_cast<ushort>(outputs[static_cast<std::size_t>(std::clamp<int>(output, 0, last))].unitKind);
    *second = *third = 0;
    return S_OK;
}

STDMETHODIMP CompiledOperator::GetOutputRange(int, int, uint* first, uint* last) {
    if (!first || !last) return E_POINTER;
    *first = 0;
    *last = 1;
    return S_OK;
}

STDMETHODIMP CompiledOperator::GetParameterCount(ushort* count, TextSlot*) { return Answer(count, 0); }

STDMETHODIMP CompiledOperator::GetParameterText(short, TextSlot* text, TextSlot*) { return HandOut(text, ""); }

STDMETHODIMP CompiledOperator::GetLookback(uint* bars, TextSlot*) { return Answer(bars, compilation->lookback); }

// Without indices of bars each bar counts as the last one.
STDMETHODIMP CompiledOperator::Reset(int, const double*) { return ResetBar(0, 0, 0, nullptr); }

STDMETHODIMP CompiledOperator::ResetBar(int mode, int lastBar, int, const double*) {
    return Guarded([&] { return compilation->graph.Reset({lastBar, mode == 1}); });
}

STDMETHODIMP CompiledOperator::Calculate(int inputCount, const double* in, int outputCount, double* out) {
    return CalculateBar(0, inputCount, in, outputCount, out);
}

STDMETHODIMP CompiledOperator::CalculateBar(int bar, int, const double* in, int, double* out) {
    if (!out || (!in && !inputs.empty())) return E_POINTER;
    for (std::size_t i = 0; i < inputs.size(); ++i) row[inputs[i]] = in[i];
    const HRESULT status = Guarded([&] { return compilation->graph.Step(row.data(), bar); });
    const double* const values = compilation->graph.Values();
    for (std::size_t i = 0; i < outputs.size(); ++i) out[i] = values[outputs[i].place];
    return status;
}

STDMETHODIMP CompiledOperator::SaveState(short slot) {
    return Guarded([&] { return compilation->graph.Save(slot); });
}

STDMETHODIMP CompiledOperator::RestoreState(short slot) {
    return Guarded([&] { return compilation->graph.Restore(slot); });
}

STDMETHODIMP CompiledOperator::GetBarFlagA(uint* flag) { return Answer(flag, 1); }
STDMETHODIMP CompiledOperator::GetBarFlagB(uint* flag) { return Answer(flag, 0); }
STDMETHODIMP CompiledOperator::GetBarFlagC(uint* flag) { return Answer(flag, 0); }
STDMETHODIMP CompiledOperator::GetBarStyle(uint* style) { return Answer(style, 3); }

STDMETHODIMP CompiledOperator::SetPriceStep(int count, const double* values) {
    compilation->graph.SetPriceStep(count >= 2 && values ? values[0] : 1.0);
    return S_OK;
}

}  // namespace sarvane::study
