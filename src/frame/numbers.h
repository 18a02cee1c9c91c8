#pragma once

#include "sarvane/values.h"

#include <cfloat>

namespace sarvane {

// Results are defined to the last bit. A compiler that keeps more digits between operations, as the x87 unit of 32-bit
// x86 does, would give other ones; there the options -msse2 -mfpmath=sse are needed.
static_assert(FLT_EVAL_METHOD == 0, "operations on doubles must give doubles");

// A double read as an integer parameter: truncated toward zero. A NaN and what does not fit give UndefinedParam.
constexpr int TruncateToInt(double value) {
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int>(value) : UndefinedParam;
}

// A NaN is neither greater nor lesser: `b` is the answer then.
constexpr double Greater(double a, double b) { return a > b ? a : b; }
constexpr double Lesser(double a, double b) { return a < b ? a : b; }

// Limits `value` to `digits` significant decimal digits, halves away from zero. Digits outside 1 to 15, and values
// without a logarithm, leave it as it is.
double RoundToSignificant(double value, int digits);

// 1 if `a` is above `b`, -1 if it is below, 0 if both agree to a relative 1e-9 or lie below 1e-9.
int CompareTolerant(double a, double b);

// Bars until an exponential average of `period` bars has settled to `digits` decimal digits. What exceeds an int is
// held to the largest one.
int ConvergenceBars(double period, int digits);

}  // namespace sarvane
