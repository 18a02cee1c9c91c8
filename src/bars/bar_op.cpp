#include "bars/bar_op.h"

#include <algorithm>

namespace sarvane {
namespace {

bool NearZero(double divisor) { return divisor > -1e-100 && divisor < 1e-100; }

// Combines each price with the value. A negative value can turn the bar upside down, so high and low are put in order.
template <class Rule>
void Combine(const BarInputs& in, double* out) {
    const double value = in[Rule::Value];
    if (Rule::Divides && NearZero(value)) return;
    const double a = Rule::Of(in[Rule::High], value);
    const double b = Rule::Of(in[Rule::Low], value);
    out[0] = Rule::Of(in[Rule::Open], value);
    out[1] = Greater(a, b);
    out[2] = Lesser(a, b);
    out[3] = Rule::Of(in[Rule::Close], value);
}

}  // namespace

template <class Rule>
STDMETHODIMP CBarOp<Rule>::ResetBar(int mode, int lastBar, int count, const double* first) {
    holdPrevious = mode == 1;
    BarRecord& live = states.Live();
    for (int i = 0; i < 5; ++i) live.inputs[static_cast<std::size_t>(i)] = NthSeed(i, holdPrevious ? count : 0, first);
    live.lastBar = lastBar;
    return S_OK;
}

template <class Rule>
STDMETHODIMP CBarOp<Rule>::CalculateBar(int, int, const double* in, int, double* out) {
    std::fill_n(out, 4, UndefinedValue);
    BarRecord& live = states.Live();
    BarInputs used;
    for (std::size_t i = 0; i < used.size(); ++i) used[i] = holdPrevious && IsUndefined(in[i]) ? live.inputs[i] : in[i];
    if (std::ranges::any_of(used, IsUndefined)) return S_OK;
    Combine<Rule>(used, out);
    live.inputs = used;
    return S_OK;
}

template class CBarOp<BarPlusValue>;
template class CBarOp<BarMinusValue>;
template class CBarOp<BarTimesValue>;
template class CBarOp<BarByValue>;

}  // namespace sarvane
