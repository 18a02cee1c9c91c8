#include "frame/numbers.h"

#include "frame/powers_of_ten.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>

namespace sarvane {
namespace {

constexpr double LnOf10 = 2.302585092994046;

// For each power of ten the largest double whose rounded logarithm is not above the exponent.
constexpr auto LogarithmBorders = [] {
    std::array<double, std::size(PowersOfTen)> borders{};
    for (std::size_t i = 0; i < borders.size(); ++i)
        borders[i] = std::bit_cast<double>(std::bit_cast<std::int64_t>(PowersOfTen[i]) + LogarithmReach[i]);
    return borders;
}();

// ceil(log10(size)) of a positive finite number, by a look into a table: `log10` takes ten times as long, and differs
// between runtime libraries.
int CeilingOfLogarithm(double size) {
    constexpr int MantissaBits = 52;
    const auto bits = std::bit_cast<std::int64_t>(size);
    const int biased = static_cast<int>(bits >> MantissaBits);
    const int subnormalWidth = static_cast<int>(std::bit_width(static_cast<std::uint64_t>(bits)));
    const int binary = biased > 0 ? biased - 1023 : subnormalWidth - 1075;
    // 78913 / 2^18 is the logarithm of 2, precise enough for all exponents; the shift rounds down, so two minus signs
    // make it round up. At most one power of ten lies between a power of two and the next.
    const int lowest = -(-binary * 78913 >> 18);
    return lowest + (size > LogarithmBorders[static_cast<std::size_t>(lowest - LowestPower)]);
}

// The nearest whole number, halves away from zero, of a number that is not below 0.5 and far below 2^63 in size.
// `round` is a call on processors whose compilers can't count on an instruction for it.
double NearestWhole(double number) {
    const auto whole = static_cast<std::int64_t>(number);
    const double rest = number - static_cast<double>(whole);
    return static_cast<double>(whole + (rest >= 0.5) - (rest <= -0.5));
}

}  // namespace

double RoundToSignificant(double value, int digits) {
    if (digits < 1 || digits > 15 || value == 0.0 || !std::isfinite(value)) return value;
    const int power = digits - CeilingOfLogarithm(std::abs(value));
    if (power > HighestPower) return value;  // ten to that power is infinite
    const double scale = PowersOfTen[power - LowestPower];
    const double rounded = NearestWhole(scale * value) / scale;
    return std::isfinite(rounded) ? rounded : value;
}

int CompareTolerant(double a, double b) {
    constexpr double Tolerance = 1e-9;
    const double size = std::max(std::abs(a), std::abs(b));
    if (size < Tolerance || Tolerance * size > std::abs(a - b)) return 0;
    return a > b ? 1 : -1;
}

int ConvergenceBars(double period, int digits) {
    const double bars = std::ceil(digits * period * 0.5 * LnOf10);
    return bars >= 2147483648.0 ? std::numeric_limits<int>::max() : TruncateToInt(bars);
}

}  // namespace sarvane
