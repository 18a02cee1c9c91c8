#pragma once

#include "sarvane/component.h"
#include "sarvane/values.h"

#include <cfloat>

namespace sarvane {

// Results are defined to the last bit. A compiler that keeps more digits between operations, as the x87 unit of 32-bit
// x86 does, would give other ones; there the options -msse2 -mfpmath=sse are needed.
static_assert(FLT_EVAL_METHOD == 0, "operations on doubles must give doubles");

// A parameter that is read from a curve: truncated toward zero. A NaN and a number that an int can't hold give
// UndefinedParam.
constexpr int TruncateToInt(double value) {
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int>(value) : UndefinedParam;
}

// Maximum and minimum. If either argument is a NaN the result is `b`.
constexpr double Greater(double a, double b) { return a > b ? a : b; }
constexpr double Lesser(double a, double b) { return a < b ? a : b; }

// Rounds `value` to `digits` significant decimal digits, halves away from zero. The value is returned as it is if
// `digits` is not 1 to 15, if the value is 0, infinite or a NaN, or if rounding it leaves the range of a double.
double RoundToSignificant(double value, int digits);

// Stores the rounded value in an out slot, and gives S_OK: a bar can end with this call.
HRESULT AnswerRounded(double* out, double value, int digits);

// 1 if `a` is above `b`, -1 if it is below, 0 if they count as equal: if they differ by less than 1e-9 of the larger
// size, or if both are smaller than 1e-9 in size.
int CompareTolerant(double a, double b);

// How many bars an exponential average of `period` bars needs until its start value no longer shows in the first
// `digits` decimal digits. At most the largest int.
int ConvergenceBars(double period, int digits);

}  // namespace sarvane
