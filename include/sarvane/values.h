#pragma once

#include <cstdint>
#include <limits>

namespace sarvane {

using ushort = std::uint16_t;
using uint = std::uint32_t;

// No value on this bar. A NaN is a value.
inline constexpr double UndefinedValue = -2147483648.0;

// A parameter that was not set, was rejected, or is bound to a curve and read from it on every bar.
inline constexpr int UndefinedParam = std::numeric_limits<int>::min();

constexpr bool IsUndefined(double value) { return value == UndefinedValue; }
constexpr bool IsUnset(int parameter) { return parameter == UndefinedParam; }

}  // namespace sarvane
