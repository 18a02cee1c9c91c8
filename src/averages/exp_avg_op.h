#pragma once

#include "frame/described.h"

#include <array>
#include <cstddef>

namespace sarvane {

// One stage of exponential averaging. Each input moves the average a fraction `alpha` of the way towards it.
struct ExpStage {
    double average = UndefinedValue;
    double previousInput = UndefinedValue;  // last input that was used
    double alpha = 1.0;                     // smoothing factor in force; with UndefinedValue the stage stands still

    // Averages one more input; a missing one repeats the previous input, and the first one becomes the average. False
    // if nothing was averaged: there is no factor, or no input yet.
    bool Advance(double value);
};

// Stages in series with one common factor: the first averages the curve, each further one the average before it.
template <std::size_t Count>
struct ExpStagesInSeries {
    static constexpr std::size_t CurveStages = 1;   // how many stages, counted from the first, average the curve
    static constexpr double LeastSmoothing = 1e-9;  // below it a stage has no factor

    // False if the last stage averaged nothing.
    bool Advance(double value);
    void SetFactors(double smoothing);
    // Bars until the last stage has settled to `digits`; UndefinedParam if `smoothing` is undefined or 0.
    static int BarsToSettle(double smoothing, int digits);

    std::array<ExpStage, Count> stages;
};

struct CExpAvgState : ExpStagesInSeries<1> {
    static constexpr const char* Keyword = "Exp";
    static constexpr const char* Sentence = "exponential average";
};

struct CTriAvgState : ExpStagesInSeries<3> {
    static constexpr const char* Keyword = "TriAvg";
    static constexpr const char* Sentence = "exponential average of an exponential average of an exponential average";
};

// Alan Hull's moving average (2005), with exponential averages in the place of his weighted ones. Stages 0 and 1 both
// average the curve, stage 1 with half the smoothing; as a length, half is a faster average. Twice its average minus
// that of stage 0 makes up for most of the lag, and is what stage 2 averages, with the square root of the smoothing.
struct CExHullAvgState {
    static constexpr const char* Keyword = "ExHull";
    static constexpr const char* Sentence = "exponential average that makes up for its lag";
    static constexpr std::size_t CurveStages = 2;
    static constexpr double LeastSmoothing = 2e-9;  // below it stage 1 has no factor

    bool Advance(double value);
    void SetFactors(double smoothing);
    static int BarsToSettle(double smoothing, int digits);

    std::array<ExpStage, 3> stages;
};

// Exp( curve, smoothing), TriAvg and ExHull average exponentially. `smoothing` above 1 is a length in bars, otherwise
// it is the smoothing factor itself. One that is not constant is a second input, read on every bar. The three operators
// differ only in `State`: its stages, and how they are connected. Outputs are rounded to significant digits; the
// averages inside are not.
template <class State>
class CDefExpAvgOp : public Described<CDefExpAvgOp<State>> {
    friend Described<CDefExpAvgOp>;
    static constexpr Description About = {
        .sentence = State::Sentence,
        .arguments = {Takes::Curve("curve", "what is averaged"),
                      Takes::Number("smoothing", "length in bars if above 1, otherwise the smoothing factor itself")
                          .From(State::LeastSmoothing)
                          .CanBeBound()},
        .outputs = {{u"curve1", UnitKind::Curve, "the average, rounded to significant digits", DrawnAs::Line}},
    };
    FormattedText Formula() const {
        return IsUndefined(smoothing) ? FormatText("%s(%%s, %d)", State::Keyword, TruncateToInt(smoothing))
                                      : FormatText("%s(%%s, %.3f)", State::Keyword, smoothing);
    }
    int BoundInputs() const { return IsUndefined(smoothing); }
    FormattedText Parameter(short) const { return FormatText("%20.10f", smoothing); }
    int Lookback() const { return ValueOr(State::BarsToSettle(smoothing, digits), depth); }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) noexcept override;

private:
    HRESULT Average(double value, double* out) noexcept;
    // The same with a smoothing that is read from a curve.
    HRESULT AverageBySmoothing(const double* in, double* out) noexcept;

    int digits = 6;  // significant digits of the output
    int depth = DefaultHistoryDepth;
    double smoothing = UndefinedValue;
    StateStore<State> states;
};

using CExpAvgOp = CDefExpAvgOp<CExpAvgState>;
using CTriAvgOp = CDefExpAvgOp<CTriAvgState>;
using CExHullAvgOp = CDefExpAvgOp<CExHullAvgState>;

}  // namespace sarvane
