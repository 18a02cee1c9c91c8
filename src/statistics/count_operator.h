#pragma once

#include "frame/described.h"

#include <array>

namespace sarvane {

struct ConditionCount {
    double previous = UndefinedValue;  // last value of the condition that was used
    int bars = 0;                      // since the condition was last 0
    bool started = false;              // whether the condition was ever 0; nothing is counted before
};

struct CountState {
    double previousHigh = UndefinedValue;
    double previousLow = UndefinedValue;
    std::array<ConditionCount, 2> conditions;
};

// Count( bar, labelAt, condition1, condition2) counts for each of two conditions the bars since it was last 0, and puts
// the count as a label on the bars on which it is `labelAt`. High and low of the bar are outputs, too: they tell a
// chart where to draw the labels.
class CCountOperator : public Described<CCountOperator> {
    friend Described;
    static constexpr Description About = {
        .sentence = "bars since each of two conditions was last 0, as labels on a chart",
        .arguments =
            {Takes::Bar("bar", "prices", HlFields),
             Takes::Count("labelAt", "count at which a bar is labelled; without it every bar is").From(1).Optional(),
             Takes::Curve("condition1", "its count starts over at 0; any other number is counted"),
             Takes::Curve("condition2", "a second condition with a count of its own")},
        .outputs = {{u"high", UnitKind::Curve, "high of the bar", DrawnAs::Line},
                    {u"low", UnitKind::Curve, "low of the bar", DrawnAs::Line},
                    {u"label1", UnitKind::Number, "bars since condition1 was last 0", DrawnAs::Marker},
                    {u"label2", UnitKind::Number, "bars since condition2 was last 0", DrawnAs::Marker}},
    };
    FormattedText Formula() const { return FormatText("Count(%%s, %d, %%s)", labelAt); }
    static int ArgumentOf(short input) { return input < 2 ? 0 : input; }
    FormattedText Parameter(short n) const { return Nth(n, labelAt); }
    int Lookback() const { return ValueOr(labelAt, depth); }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) noexcept override;

private:
    double LabelOf(ConditionCount& condition, int curve, double value) const;

    int depth = DefaultHistoryDepth;
    // 0 puts a label on every bar. Only a new operator has it, since SetParameter turns 0 into unset: no labels.
    int labelAt = 0;
    StateStore<CountState> states;
};

}  // namespace sarvane
