#pragma once

#include "compilation.h"
#include "sarvane/operator.h"

#include <memory>
#include <string>
#include <vector>

namespace sarvane::study {

// An expression that answers as an operator does: whoever can drive one operator can drive a whole expression. Its
// inputs are the columns that it reads, its outputs those of the expression. It takes no arguments.
//
// Snapshots reach all operators inside. Where one of these gives up higher slots on a save, all do; where one keeps no
// snapshots, restoring takes the last bar back, once.
class CompiledOperator final : public IZelmorOp, public IZelmorOp2 {
public:
    // Has one reference, the caller's. The compilation holds one expression.
    explicit CompiledOperator(std::unique_ptr<Compilation> compiled);

    STDMETHODIMP QueryInterface(const GUID& iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override;

    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot* error) override;
    STDMETHODIMP SetParameter(short, const char16_t*, TextSlot*) override { return S_OK; }
    STDMETHODIMP GetInputCount(ushort* count, TextSlot* error) override;
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot* error) override;
    STDMETHODIMP GetInputBarType(short input, TextSlot* barType, TextSlot* error) override;
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot* error) override;
    STDMETHODIMP GetOutputName(short output, TextSlot* name, TextSlot* error) override;
    STDMETHODIMP GetOutputUnits(short output, ushort* kind, ushort* second, ushort* third, TextSlot* error) override;
    STDMETHODIMP GetOutputRange(int unused1, int unused2, uint* first, uint* last) override;
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot* error) override;
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot* error) override;
    STDMETHODIMP GetLookback(uint* bars, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* inputs, int outputCount, double* outputs) override;
    STDMETHODIMP SaveState(short slot) override;
    STDMETHODIMP RestoreState(short slot) override;

    STDMETHODIMP ResetBar(int mode, int lastBar, int count, const double* first) override;
    STDMETHODIMP CalculateBar(int bar, int inputCount, const double* inputs, int outputCount, double* outputs) override;
    STDMETHODIMP GetBarFlagA(uint* flag) override;
    STDMETHODIMP GetBarFlagB(uint* flag) override;
    STDMETHODIMP GetBarFlagC(uint* flag) override;
    STDMETHODIMP GetBarStyle(uint* style) override;
    STDMETHODIMP SetPriceStep(int count, const double* values) override;

private:
    ~CompiledOperator() = default;

    struct Output {
        std::string name;
        Place place;
        int unitKind;
    };

    HRESULT HandOut(TextSlot* slot, std::string_view text) const;

    std::unique_ptr<Compilation> compilation;
    std::vector<std::size_t> inputs;  // the column behind each
    std::vector<Output> outputs;
    std::vector<double> row;  // the data's columns on the present bar
    ULONG references = 1;
};

}  // namespace sarvane::study
