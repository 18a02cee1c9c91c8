#pragma once

#include "frame/described.h"

#include <array>

namespace sarvane {

struct ConditionCount {
    double previous = UndefinedValue;  // condition of the last bar
    int bars = 0;                      // since the condition was last 0
    bool started = false;              // the condition has been 0
};

struct CountState {
    double previousHigh = UndefinedValue;
    double previousLow = UndefinedValue;
    std::array<ConditionCount, 2> conditions;
};

// Count( bar, labelAt, condition1, condition2) counts, for each condition, the bars since it was last 0, and labels the
// bars whose count is `labelAt`. High and low of the bar pass through, as the places where labels are drawn.
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
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;

private:
    double LabelOf(ConditionCount& condition, int curve, double value) const;

    int depth = DefaultHistoryDepth;
    int labelAt = 0;  // 0 labels every bar, which only a new operator does; unset labels none
    StateStore<CountState> states;
};

}  // namespace sarvane
