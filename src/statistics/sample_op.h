#pragma once

#include "frame/described.h"

namespace sarvane {

struct SampleState {
    double previousTrigger = UndefinedValue;  // trigger of the last bar; undefined if it was missing
    double lastSample = UndefinedValue;       // last value that was passed through
    double barsSinceTrigger = 0.0;
    bool sampling = false;  // whether the last bar was passed through
};

// Sample( curve, trigger, sampleBars, triggerMode, holdLast) passes the curve through for `sampleBars` bars, from the
// bar on which the trigger fires. On other bars the output is the last value that was passed through, or undefined if
// `holdLast` is 0.
class CSampleOp : public Described<CSampleOp> {
    friend Described;
    static constexpr WordDescription Triggers[] = {{"0", "a trigger above 0 fires"},
                                                   {"1", "a trigger that rises and is not below 0 fires"}};
    static constexpr Description About = {
        .sentence = "values of a curve on the bars from a trigger on, and between them the last such value",
        .arguments = {Takes::Curve("curve", "what is passed through"),
                      Takes::Curve("trigger", "starts the passing when it fires"),
                      Takes::Count("sampleBars", "bars that are passed through after firing, the first one included")
                          .From(1)
                          .Default("1"),
                      Takes::Word("triggerMode", "when the trigger fires", Triggers).Default("0"),
                      Takes::Switch("holdLast", "in between the last value passed is repeated").Default("1")},
        .outputs = {{u"curve1", UnitKind::Curve, "the curve where it is passed through, else its last value or none",
                     DrawnAs::Step}},
    };
    FormattedText Formula() const {
        return FormatText("Sample(%%s, %%s, %d, %d, %d)", sampleBars, triggerMode, holdLast);
    }
    FormattedText Parameter(short n) const { return Nth(n, sampleBars, triggerMode, holdLast); }
    int Lookback() const { return depth; }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) noexcept override;

private:
    bool Fires(double trigger, double previous) const;
    double Sample(SampleState& live, double value, double trigger) const;

    int depth = DefaultHistoryDepth;
    int sampleBars = 1;
    int triggerMode = 0;  // 0: a trigger above 0 fires; 1: one above the trigger before and not below 0; others: never
    int holdLast = 1;     // a switch: on unless it is 0
    StateStore<SampleState> states;
};

}  // namespace sarvane
