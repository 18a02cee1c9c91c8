#pragma once

namespace sarvane {

// The double nearest to the natural logarithm of `value`: the same bits on every platform, which the logarithms of C
// libraries are not. Zeros give -infinity, numbers below zero the NaN 0x7FF8000000000000. A NaN is handed back, quiet.
double Logarithm(double value) noexcept;

}  // namespace sarvane
