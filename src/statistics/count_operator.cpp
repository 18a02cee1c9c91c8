#include "statistics/count_operator.h"

#include "frame/chart_label.h"

#include <algorithm>

namespace sarvane {
namespace {

enum Argument : short { Bar, LabelAt };
enum Input : short { High, Low, Condition1, Condition2 };

}  // namespace

STDMETHODIMP CCountOperator::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    switch (index) {
    case HistoryDepthIndex: depth = number; break;
    case LabelAt: labelAt = number == 0 ? UndefinedParam : number; break;
    }
    return S_OK;
}

STDMETHODIMP CCountOperator::Reset(int, const double*) {
    states.Live() = {};
    return S_OK;
}

// Without a high, both high and low repeat the previous bar. A low that is missing beside a high stays missing.
STDMETHODIMP CCountOperator::Calculate(int, const double* in, int, double* out) noexcept {
    std::fill_n(out, 4, UndefinedValue);
    CountState& live = states.Live();
    if (!IsUndefined(in[High])) {
        live.previousHigh = in[High];
        live.previousLow = in[Low];
    }
    if (IsUndefined(live.previousHigh)) return S_OK;
    out[0] = live.previousHigh;
    out[1] = live.previousLow;
    out[2] = LabelOf(live.conditions[0], 0, in[Condition1]);
    out[3] = LabelOf(live.conditions[1], 1, in[Condition2]);
    return S_OK;
}

// Counts one bar of a condition and gives its label. A missing condition repeats its last value.
double CCountOperator::LabelOf(ConditionCount& condition, int curve, double value) const {
    if (IsUndefined(value)) value = condition.previous;
    if (IsUndefined(value)) return UndefinedValue;
    condition.previous = value;
    if (value == 0.0) {
        condition.bars = 0;
        condition.started = true;
    } else if (condition.started) {
        ++condition.bars;
    }
    if (labelAt != 0 && condition.bars != labelAt) return UndefinedValue;
    return EncodeLabel({.curve = curve, .text = std::to_string(condition.bars)});
}

}  // namespace sarvane
