#pragma once

#include "sarvane/values.h"

#include <compare>

namespace sarvane {

// A double that can be undefined. Arithmetic gives UndefinedValue if an operand is UndefinedValue or a divisor lies
// within 1e-100 of zero. Comparisons treat UndefinedValue as the number -2147483648, which is below every real price.
struct GuardedValue {
    constexpr GuardedValue(double number = UndefinedValue) : value(number) {}
    friend constexpr auto operator<=>(GuardedValue, GuardedValue) = default;

    double value;
};

constexpr bool IsUndefined(GuardedValue guarded) { return IsUndefined(guarded.value); }

constexpr GuardedValue operator+(GuardedValue a, GuardedValue b) {
    return IsUndefined(a) || IsUndefined(b) ? UndefinedValue : a.value + b.value;
}
constexpr GuardedValue operator-(GuardedValue a, GuardedValue b) {
    return IsUndefined(a) || IsUndefined(b) ? UndefinedValue : a.value - b.value;
}
constexpr GuardedValue operator*(GuardedValue a, GuardedValue b) {
    return IsUndefined(a) || IsUndefined(b) ? UndefinedValue : a.value * b.value;
}
constexpr GuardedValue operator/(GuardedValue a, GuardedValue b) {
    const bool nearZero = b.value >= -1e-100 && b.value <= 1e-100;
    return IsUndefined(a) || IsUndefined(b) || nearZero ? UndefinedValue : a.value / b.value;
}

}  // namespace sarvane
