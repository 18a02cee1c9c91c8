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

// The numbers between a power of two and the next. At most one power of ten lies among them.
struct Octave {
    double border = 0.0;  // beyond it the logarithm's ceiling is one above
    int ceiling = 0;      // of the decimal logarithm
};

constexpr Octave OctaveFrom(int binaryExponent) {
    // 78913 / 2^18 is the logarithm of 2, precise enough for all exponents; the shift rounds down, so two minus signs
    // make it round up.
    const int ceiling = -(-binaryExponent * 78913 >> 18);
    return {LogarithmBorders[static_cast<std::size_t>(ceiling - LowestPower)], ceiling};
}

// By the exponent in the bits of a double: all but the first and the last, of the subnormal and the infinite numbers.
constexpr auto Octaves = [] {
    std::array<Octave, 2048> octaves;
    for (int biased = 1; biased < 2047; ++biased) octaves[static_cast<std::size_t>(biased)] = OctaveFrom(biased - 1023);
    return octaves;
}();

std::size_t BiasedExponent(double size) { return static_cast<std::size_t>(std::bit_cast<std::uint64_t>(size) >> 52); }

Octave SubnormalOctave(double size) {
    return OctaveFrom(static_cast<int>(std::bit_width(std::bit_cast<std::uint64_t>(size))) - 1075);
}

// ceil(log10(size)), by a look into a table: `log10` takes ten times as long, and differs between runtime libraries.
int CeilingOfLogarithm(double size, const Octave& octave) { return octave.ceiling + (size > octave.border); }

// `round`, which is a call on processors whose compilers can't count on an instruction for it, of a number from 0.5 to
// 2^52 in size: with a half that is added the next whole number is reached, or it is not, exactly.
double NearestWhole(double number) {
    return static_cast<double>(static_cast<std::int64_t>(number + std::copysign(0.5, number)));
}

// Rounds what scaling leaves among the finite numbers. The scaled number has at least one digit and at most 15 ahead of
// the point.
double RoundScaled(double value, int power) {
    const double scale = PowersOfTen[power - LowestPower];
    return NearestWhole(scale * value) / scale;
}

// The same where scaling or rounding may leave the range of a double.
double RoundNearTheEnds(double value, int digits) {
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
