#pragma once

#include "frame/operator_contract.h"
#include "frame/state_store.h"

#include <array>
#include <cstddef>

namespace sarvane {

// One stage of exponential averaging.
struct ExpStage {
    double average = UndefinedValue;
    double previousInput = UndefinedValue;  // last input that the stage used
    double alpha = 1.0;                     // smoothing factor in force; UndefinedValue holds the stage where it is

    // Whether the stage took in a value. The first one becomes the average.
    bool Advance(double value);
};

// Stages one behind the other, all with the same factor: each takes in the average of the one before it.
template <std::size_t Count>
struct ExpStagesInSeries {
    static constexpr std::size_t CurveStages = 1;  // so many, from the first on, take in the curve itself

    // Whether the last stage took in a value.
    bool Advance(double value);
    void SetFactors(double smoothing);
    // Bars until the last stage has settled, UndefinedParam if `smoothing` doesn't tell.
    static int BarsToSettle(double smoothing, int digits);

    std::array<ExpStage, Count> stages;
};

struct CExpAvgState : ExpStagesInSeries<1> {
    static constexpr const char* Keyword = "Exp";
};

struct CTriAvgState : ExpStagesInSeries<3> {
    static constexpr const char* Keyword = "TriAvg";
};

// Two stages side by side, the second with half the smoothing of the first. The second, extrapolated by its distance
// from the first, feeds the third, which has the root of the smoothing.
struct CExHullAvgState {
    static constexpr const char* Keyword = "ExHull";
    static constexpr std::size_t CurveStages = 2;

    bool Advance(double value);
    void SetFactors(double smoothing);
    static int BarsToSettle(double smoothing, int digits);

    std::array<ExpStage, 3> stages;
};

// Exp( curve, smoothing) and its kin average exponentially. `smoothing` is a length if it is above 1, else the factor
// itself; one that is no constant becomes a second input, read on every bar. `State` holds all that sets one such
// operator apart: its stages, and how they are chained. Outputs are rounded to significant digits, stages are not.
template <class State>
class CDefExpAvgOp : public CDefZelmorOp {
public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula, IsUndefined(smoothing)
                                    ? FormatText("%s(%%s, %d)", State::Keyword, TruncateToInt(smoothing))
                                    : FormatText("%s(%%s, %.3f)", State::Keyword, smoothing));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override {
        return Answer(count, IsUndefined(smoothing) ? 2 : 1);
    }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override { return Answer(argument, input); }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetOutputName(short, TextSlot* name, TextSlot*) override { return TextOut(name, u"curve1"); }
    STDMETHODIMP GetOutputUnits(short, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, UnitKind::Curve);
    }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, !IsUndefined(smoothing)); }
    STDMETHODIMP GetParameterText(short, TextSlot* text, TextSlot*) override {
        return TextOut(text, FormatText("%20.10f", smoothing));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override {
        return Answer(bars, ValueOr(State::BarsToSettle(smoothing, digits), depth));
    }
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) noexcept override;
    STDMETHODIMP SaveState(short slot) override { return states.Save(slot); }
    STDMETHODIMP RestoreState(short slot) override { return states.Restore(slot); }

private:
    int digits = 6;  // significant ones of the output
    int depth = DefaultHistoryDepth;
    double smoothing = UndefinedValue;
    StateStore<State> states;
};

using CExpAvgOp = CDefExpAvgOp<CExpAvgState>;
using CTriAvgOp = CDefExpAvgOp<CTriAvgState>;
using CExHullAvgOp = CDefExpAvgOp<CExHullAvgState>;

}  // namespace sarvane
