#pragma once

// Answers a host's describing calls from an operator's description, so that an operator only says what is its own.

#include "frame/description.h"
#include "frame/inner_steps.h"
#include "frame/operator_contract.h"
#include "frame/state_store.h"

#include <algorithm>

namespace sarvane {

// The layer between an operator and the default implementation of its interfaces, CDefZelmorOp or CDefZelmorOp2. It has
// neither data nor virtual methods of its own. An operator derives from Described<Itself>, names it a friend, and gives
//
//     static constexpr Description About     what it computes, its arguments and its outputs
//     Formula()                              its expression: a FormattedText or a constant text
//     Lookback()                             bars of history before its outputs mean something
//     Parameter(n)                           the text of parameter n, usually `return Nth(n, period, ...)`
//     states                                 a StateStore, for snapshots; and Steps() if it has inner steps
//
// and, where the answers below do not fit, a function of the same name:
//
//     BoundInputs()      how many parameters are read from curves at present
//     InputCount()       how many inputs there are at present
//     ParameterCount()   how many parameters have a constant value at present
//     ArgumentOf(input)  which argument feeds an input
//     FieldOf(input)     which field of a bar feeds an input
//     OutputName(n), OutputUnits(n)   for numbers out of range, too
//
// Numbers out of range are answered, not refused: hosts rely on these answers.
template <class Operator, class Default = CDefZelmorOp>
class Described : public Default {
public:
    static constexpr const Description& ClassDescription() { return Operator::About; }

    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override { return TextOut(formula, Self().Formula()); }
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, Self().InputCount()); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override {
        return Answer(argument, Self().ArgumentOf(input));
    }
    STDMETHODIMP GetInputBarType(short input, TextSlot* barType, TextSlot*) override {
        return TextOut(barType, Self().FieldOf(input));
    }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override {
        return Answer(count, Operator::About.outputs.size());
    }
    STDMETHODIMP GetOutputName(short output, TextSlot* name, TextSlot*) override {
        return TextOut(name, Self().OutputName(output));
    }
    STDMETHODIMP GetOutputUnits(short output, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, Self().OutputUnits(output));
    }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, Self().ParameterCount()); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text, Self().Parameter(parameter));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, Self().Lookback()); }
    STDMETHODIMP SaveState(short slot) override {
        if constexpr (HasSteps())
            return SaveAll(slot, Self().states, Self().Steps());
        else if constexpr (HasStates())
            return Self().states.Save(slot);
        else
            return Default::SaveState(slot);
    }
    STDMETHODIMP RestoreState(short slot) override {
        if constexpr (HasSteps())
            return RestoreAll(slot, Self().states, Self().Steps());
        else if constexpr (HasStates())
            return Self().states.Restore(slot);
        else
            return Default::RestoreState(slot);
    }

protected:
    ~Described() = default;

    static int BoundInputs() { return 0; }
    int InputCount() { return Operator::About.InputCount() + Self().BoundInputs(); }
    int ParameterCount() { return Operator::About.ParameterCount() - Self().BoundInputs(); }
    static std::u16string_view Parameter(short) { return u""; }

    // A bar is argument 0 and takes the first inputs; behind it inputs and arguments go in step.
    static int ArgumentOf(short input) {
        const int prices = Operator::About.Argument(0).InputCount();
        return prices == 1 ? input : input < prices ? 0 : input - prices + 1;
    }
    static std::u16string_view FieldOf(short input) {
        const BarFields fields = Operator::About.Argument(0).fields;
        return input >= 0 && static_cast<std::size_t>(input) < fields.size() ? fields[static_cast<std::size_t>(input)]
                                                                             : u"";
    }

    static constexpr int LastOutput() { return static_cast<int>(Operator::About.outputs.size()) - 1; }
    // The name of an output, `otherwise` for a number out of range.
    static std::u16string_view OutputNameOr(short output, std::u16string_view otherwise) {
        return output < 0 || output > LastOutput() ? otherwise : Nearest(output).name;
    }
    static std::u16string_view OutputName(short output) { return OutputNameOr(output, Nearest(LastOutput()).name); }
    static UnitKind OutputUnits(short output) { return Nearest(output).units; }

private:
    Operator& Self() { return static_cast<Operator&>(*this); }
    static const OutputDescription& Nearest(int output) {
        return Operator::About.Output(static_cast<std::size_t>(std::clamp(output, 0, LastOutput())));
    }
    static constexpr bool HasStates() {
        return requires(Operator & op) { op.states; };
    }
    static constexpr bool HasSteps() {
        return requires(Operator & op) { op.Steps(); };
    }
};

}  // namespace sarvane
