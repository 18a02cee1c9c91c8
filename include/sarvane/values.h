#pragma once

#include <cstdint>
#include <limits>

namespace sarvane {

using ushort = std::uint16_t;
using uint = std::uint32_t;

// Stands for a missing value, in inputs and outputs. It is compared exactly; a NaN is a value.
inline constexpr double UndefinedValue = -2147483648.0;

// An unset parameter: it was not set, its text was rejected, or it is bound to a curve and read from it on every bar.
inline constexpr int UndefinedParam = std::numeric_limits<int>::min();

constexpr bool IsUndefined(double value) { return value == UndefinedValue; }
constexpr bool IsUnset(int parameter) { return parameter == UndefinedParam; }

}  // namespace sarvane
