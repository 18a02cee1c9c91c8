#pragma once

// For operators that take whole bars: how the prices of a bar are numbered, and how missing ones are replaced.

#include "frame/operator_contract.h"

#include <algorithm>
#include <array>

namespace sarvane {

// The inputs of an operator that takes all four prices. They are fields of argument 0 of the expression.
enum BarPrice : std::size_t { OpenPrice, HighPrice, LowPrice, ClosePrice };
using BarPrices = std::array<double, 4>;
inline constexpr BarPrices NoPrices = {UndefinedValue, UndefinedValue, UndefinedValue, UndefinedValue};

// The seeds of all inputs; see NthSeed.
template <class Values>
Values SeedsOf(int count, const double* seed) {
    Values values;
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = NthSeed(static_cast<int>(i), count, seed);
    return values;
}

// The inputs of a bar, each missing one replaced by its previous value.
template <class Values>
Values WithGapsFilled(const Values& previous, const double* in) {
    Values values;
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = IsUndefined(in[i]) ? previous[i] : in[i];
    return values;
}

template <class Values>
bool HasGap(const Values& values) {
    return std::ranges::any_of(values, [](double value) { return IsUndefined(value); });
}

}  // namespace sarvane
