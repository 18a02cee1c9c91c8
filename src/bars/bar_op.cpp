#include "bars/bar_op.h"

#include <algorithm>

namespace sarvane {
namespace {

bool NearZero(double divisor) { return divisor > -1e-100 && divisor < 1e-100; }

// Combines each price with the value. The operation can put the high below the low, so the greater of both results
// becomes the high.
//
// Division by a value near zero leaves all four outputs undefined; division by a price near zero leaves that price
// undefined. High and low are dropped as a pair, and then also forgotten, so that a later gap can't repeat them.
template <class Rule>
void Combine(BarInputs& used, double* out) {
    if (Rule::Divides) std::fill_n(out, 4, UndefinedValue);
    const double value = used[Rule::Value];
    if (Rule::Divides && Rule::BarLeads && NearZero(value)) return;
    const auto dropped = [](double price) { return Rule::Divides && !Rule::BarLeads && NearZero(price); };

    const double open = used[Rule::Open];
    if (!dropped(open)) out[0] = Rule::Of(open, value);
    double& high = used[Rule::High];
    double& low = used[Rule::Low];
    if (dropped(high) || dropped(low)) {
        high = low = UndefinedValue;
    } else {
        const double a = Rule::Of(high, value);
        const double b = Rule::Of(low, value);
        out[1] = Greater(a, b);
        out[2] = Lesser(a, b);
    }
    const double close = used[Rule::Close];
    if (!dropped(close)) out[3] = Rule::Of(close, value);
}

}  // namespace

template <class Rule>
STDMETHODIMP CBarOp<Rule>::ResetBar(int mode, int lastBar, int count, const double* seed) {
    holdPrevious = mode == 1;
    BarRecord& live = states.Live();
    live.inputs = SeedsOf<BarInputs>(holdPrevious ? count : 0, seed);
    live.lastBar = lastBar;
    return S_OK;
}

template <class Rule>
STDMETHODIMP CBarOp<Rule>::CalculateBar(int, int, const double* in, int, double* out) noexcept {
    BarRecord& live = states.Live();
    BarInputs used = ValuesAt<BarInputs>(in);
    if (!FillGaps(used, holdPrevious ? live.inputs : NoInputs)) return this->AnswerUndefined(4, out);
    Combine<Rule>(used, out);
    live.inputs = used;
    return S_OK;
}

template class CBarOp<Sum<BarFirst>>;
template class CBarOp<Difference<BarFirst>>;
template class CBarOp<Product<BarFirst>>;
template class CBarOp<Quotient<BarFirst>>;
template class CBarOp<Sum<ValueFirst>>;
template class CBarOp<Difference<ValueFirst>>;
template class CBarOp<Product<ValueFirst>>;
template class CBarOp<Quotient<ValueFirst>>;

}  // namespace sarvane
