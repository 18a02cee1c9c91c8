#pragma once

#include <bit>
#include <cstdint>
#include <limits>

namespace sarvane {

using ushort = std::uint16_t;
using uint = std::uint32_t;

// Stands for a missing value, in inputs and outputs. It is compared exactly; a NaN is a value.
inline constexpr double UndefinedValue = -2147483648.0;

// An unset parameter: it was not set, its text was rejected, or it is bound to a curve and read from it on every bar.
inline constexpr int UndefinedParam = std::numeric_limits<int>::min();

// Compares bits, since no other double is equal to UndefinedValue: a comparison of doubles also has to look for NaN.
constexpr bool IsUndefined(double value) {
    return std::bit_cast<std::uint64_t>(value) == std::bit_cast<std::uint64_t>(UndefinedValue);
}
constexpr bool IsUnset(int parameter) { return parameter == UndefinedParam; }

}  // namespace sarvane
