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

// Entry p - LowestPower is the largest double x for which log10(x), as it is rounded, is at most p.
constexpr auto LogarithmBorders = [] {
    std::array<double, std::size(PowersOfTen)> borders{};
    for (std::size_t i = 0; i < borders.size(); ++i)
        borders[i] = std::bit_cast<double>(std::bit_cast<std::int64_t>(PowersOfTen[i]) + LogarithmReach[i]);
    return borders;
}();

// The ceiling of log10 for the numbers from a power of two up to the next one. At most one power of ten lies among
// them, so the ceiling has at most two values.
struct Octave {
    double border = 0.0;  // for larger numbers the ceiling is `ceiling` + 1
    int ceiling = 0;
};

constexpr Octave OctaveFrom(int binaryExponent) {
    // log10(2^n) = n * log10(2), rounded up. 78913 / 2^18 stands for log10(2) and is precise enough for all exponents
    // of a double. The shift rounds down; the two minus signs turn that into rounding up.
    const int ceiling = -(-binaryExponent * 78913 >> 18);
    return {LogarithmBorders[static_cast<std::size_t>(ceiling - LowestPower)], ceiling};
}

// Indexed by the exponent bits of a double. Exponent 0 belongs to subnormal numbers and 2047 to infinities and NaNs:
// these two entries are not used.
constexpr auto Octaves = [] {
    std::array<Octave, 2048> octaves;
    for (int biased = 1; biased < 2047; ++biased) octaves[static_cast<std::size_t>(biased)] = OctaveFrom(biased - 1023);
    return octaves;
}();

std::size_t BiasedExponent(double size) { return static_cast<std::size_t>(std::bit_cast<std::uint64_t>(size) >> 52); }

Octave SubnormalOctave(double size) {
    return OctaveFrom(static_cast<int>(std::bit_width(std::bit_cast<std::uint64_t>(size))) - 1075);
}

// ceil(log10(size)) from a table: `log10` takes ten times as long, and its last digit differs between runtime
// libraries.
int CeilingOfLogarithm(double size, const Octave& octave) { return octave.ceiling + (size > octave.border); }

// std::round for 0.5 <= |number| <= 2^52, where adding a half and truncating is exact. Plain x86-64 has no instruction
// for std::round, so it would be a library call.
double NearestWhole(double number) {
    return static_cast<double>(static_cast<std::int64_t>(number + std::copysign(0.5, number)));
}

// Rounds to `power` digits behind the decimal point, where neither the scaling nor the way back leaves the range of a
// double. The scaled number has 1 to 15 digits before the point.
double RoundScaled(double value, int power) {
    const double scale = PowersOfTen[power - LowestPower];
    return NearestWhole(scale * value) / scale;
}

// RoundToSignificant for zeros, infinities, NaNs, and numbers so small or large that scaling may leave the range of a
// double. The value is returned as it is where that happens.
[[gnu::cold, gnu::noinline]] double RoundNearTheEnds(double value, int digits) {
    if (value == 0.0 || !std::isfinite(value)) return value;
    const double size = std::abs(value);
    const std::size_t exponent = BiasedExponent(size);
    const int power = digits - CeilingOfLogarithm(size, exponent > 0 ? Octaves[exponent] : SubnormalOctave(size));
    if (power > HighestPower) return value;  // ten to that power is infinite
    const double rounded = RoundScaled(value, power);
    return std::isfinite(rounded) ? rounded : value;
}

}  // namespace

double RoundToSignificant(double value, int digits) {
    if (digits < 1 || digits > 15) return value;
    const double size = std::abs(value);
    if (!(size > 1e-290 && size < 1e307)) return RoundNearTheEnds(value, digits);
    return RoundScaled(value, digits - CeilingOfLogarithm(size, Octaves[BiasedExponent(size)]));
}

HRESULT AnswerRounded(double* out, double value, int digits) {
    *out = RoundToSignificant(value, digits);
    return S_OK;
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
