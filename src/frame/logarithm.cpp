#include "frame/logarithm.h"

#include "frame/logarithm_table.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace sarvane {
namespace {

constexpr int MantissaBits = 52;
constexpr std::uint64_t One = std::uint64_t{1} << MantissaBits;  // also the lowest bit of the exponent
constexpr std::uint64_t InfinityBits = 2047 * One;
constexpr std::uint64_t FirstRowBits = std::bit_cast<std::uint64_t>(LogarithmRowsBegin);

// A positive number is 2^exponent * m, with m from 0.707 to 1.414 in the interval of `row`.
struct Parts {
    std::int64_t exponent;
    std::int64_t significand;  // m or 2m, from 1 to 2, times 2^52
    const LogarithmRow& row;
};

Parts PartsOf(std::uint64_t bits) {
    const std::uint64_t fromFirstRow = bits - FirstRowBits;
    return {static_cast<std::int64_t>(fromFirstRow) >> MantissaBits, static_cast<std::int64_t>(bits % One + One),
            LogarithmRows[fromFirstRow / (One / 256) % 256]};
}

// k ln(2) + 2 atanh(w) with w = (m - 1) / (m + 1), in whole numbers of 2^-256.
//
// At |w| < 0.18 the series has at most 52 terms, each cut off by less than 3 units. `Ln2Digits` is off by half a unit
// and taken at most 1074 times. So the error is below 2^10 units; and as no logarithm but that of 1 is below 2^-53 in
// size, more than 190 bits are right. That is enough to round: no logarithm but that of 1 has finitely many bits, and
// exhaustive searches among all doubles have found none that agrees with the middle of two doubles in more than 120 bits.
[[gnu::cold, gnu::noinline]] double LogarithmInManyBits(std::uint64_t bits) {
    const Parts parts = PartsOf(bits);
    using Digits = boost::multiprecision::int512_t;
    constexpr int FractionBits = 256;

    const auto first = static_cast<std::int64_t>(FirstRowBits % One + One);
    const auto one = static_cast<std::int64_t>(parts.significand < first ? One : 2 * One);
    const Digits w = (Digits(std::abs(parts.significand - one)) << FractionBits) / (parts.significand + one);
    const Digits square = (w * w) >> FractionBits;
    Digits sum = w;
    Digits power = w;
    for (int n = 3; power != 0; n += 2) {
        power = (power * square) >> FractionBits;
        sum += power / n;
    }
    const Digits logarithm = parts.exponent * Ln2Digits + (parts.significand < one ? -2 : 2) * sum;

    const Digits size = abs(logarithm);
    const int dropped = static_cast<int>(msb(size)) - MantissaBits - 1;  // leaves 54 bits, the last one to round
    const auto kept = static_cast<std::int64_t>(size >> dropped);
    const double rounded = std::ldexp(static_cast<double>((kept + 1) / 2), dropped + 1 - FractionBits);
    return logarithm < 0 ? -rounded : rounded;
}

double LogarithmOfPositive(std::uint64_t bits) noexcept {
    const Parts parts = PartsOf(bits);
    const LogarithmRow& row = parts.row;

    // The row's factor r is near 1/m, so with a small z = m r - 1 the logarithm is k ln(2) - log(r) + log(1 + z). The
    // product has at most 62 bits, of which |z| <= 2^-8 leaves 53: z is exact.
    const double z = static_cast<double>(parts.significand * row.factor - (std::int64_t{1} << 61)) * 0x1p-61;
    const double k = static_cast<double>(parts.exponent);

    // log(1 + z) = z - z^2 / 2 + z^3 (1/3 - z/4 + ...). `high` takes the first two terms without an error: `start` is
    // exact, a multiple of 2^-42 below 2^10; z = near + rest, where `near` has at most 27 bits, so its square is exact;
    // and what an addition to `high` rounds off is found exactly, as the first operand is the larger one or 0.
    const double start = k * Ln2High + row.high;
    const double startAndZ = start + z;
    const double near = (z + 0x1.8p18) - 0x1.8p18;  // to a multiple of 2^-34
    const double rest = z - near;
    const double halfSquare = near * near * 0.5;
    const double high = startAndZ - halfSquare;

    const double zz = z * z;
    const double series = (1.0 / 3 - z * (1.0 / 4)) +
                          zz * ((1.0 / 5 - z * (1.0 / 6)) + zz * ((1.0 / 7 - z * (1.0 / 8)) + zz * (1.0 / 9)));
    const double cubic = zz * z * series;
    const double roundedOff = ((start - startAndZ) + z) + ((startAndZ - high) - halfSquare);
    const double low = ((k * Ln2Low + row.low) + roundedOff - rest * (z + near) * 0.5) + cubic;

    // `high` + `low` and the addition of the margin are wrong by less than the margin. Where both ends round to the same
    // double, so does the logarithm.
    //   - `cubic` is rounded by at most 7 * 2^-53 of itself, the sum that it enters and the sum with the margin by
    //     2^-53 each. The rest, what is cut off the series above all, is below 2^-75 of the logarithm.
    //   - If `start` is 0, |z| <= 2^-8. Then |cubic| < 0.335 * 2^-16 |z|, and 9 * 2^-53 of it is below 2^-67.4 |z|.
    //   - Else |z| <= 0.75 * 2^-8, and |cubic| < 0.142 * 2^-24. The number is no nearer to 1 than 2^-9, so neither is
    //     its logarithm to 0, and 9 * 2^-53 |cubic| is below 2^-67.7 of it.
    const double margin = high * 0x1p-67;
    const double result = high + (low + margin);
    return result == high + (low - margin) ? result : LogarithmInManyBits(bits);
}

}  // namespace

double Logarithm(double value) noexcept {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    if (bits - One < InfinityBits - One) return LogarithmOfPositive(bits);
    if (value == 0.0) return -std::numeric_limits<double>::infinity();
    if (std::isnan(value)) return std::bit_cast<double>(bits | One / 2);
    if (value < 0.0) return std::numeric_limits<double>::quiet_NaN();
    if (bits == InfinityBits) return value;
    // A subnormal number becomes normal, and the exponent in its bits falls below the lowest again.
    return LogarithmOfPositive(std::bit_cast<std::uint64_t>(value * 0x1p52) - MantissaBits * One);
}

}  // namespace sarvane
