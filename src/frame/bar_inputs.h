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

template <class Values>
bool HasGap(const Values& values) {
    return std::ranges::any_of(values, [](double value) { return IsUndefined(value); });
}

// The inputs of a bar as they are.
template <class Values>
Values ValuesAt(const double* in) {
    Values values;
    std::copy_n(in, values.size(), values.begin());
    return values;
}

// Replaces each missing value by its previous one. False if one is still missing then.
template <class Values>
bool FillGaps(Values& values, const Values& previous) {
    if (!HasGap(values)) [[likely]] return true;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (IsUndefined(values[i])) values[i] = previous[i];
    }
    return !HasGap(values);
}

// Replaces all values by the previous ones if one is missing. False if one is still missing then.
template <class Values>
bool RepeatIfGap(Values& values, const Values& previous) {
    if (!HasGap(values)) [[likely]] return true;
    values = previous;
    return !HasGap(values);
}

}  // namespace sarvane
