#include "frame/numbers.h"

#include <bit>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace sarvane::test {
namespace {

double TenTo(int power) {
    static const std::vector<double> powers = [] {
        std::vector<double> all;
        for (int p = -330; p <= 340; ++p) all.push_back(std::strtod(("1e" + std::to_string(p)).c_str(), nullptr));
        return all;
    }();
    return powers[static_cast<std::size_t>(power + 330)];
}

// Against the definition, with the logarithm of the C library.
void CheckRounding(double value, int digits) {
    double expected = value;
    const double logarithm = std::log10(std::abs(value));
    if (digits >= 1 && digits <= 15 && std::isfinite(logarithm)) {
        const double scale = TenTo(digits - static_cast<int>(std::ceil(logarithm)));
        const double rounded = std::round(scale * value) / scale;
        if (std::isfinite(rounded)) expected = rounded;
    }
    const auto actual = std::bit_cast<std::uint64_t>(RoundToSignificant(value, digits));
    ASSERT_EQ(actual, std::bit_cast<std::uint64_t>(expected)) << value << " to " << digits;
}

TEST(Numbers, RoundsAroundPowersOfTen) {
    for (int power = -324; power <= 309; ++power) {
        for (int away = -600; away <= 600; ++away) {
            const auto near = std::bit_cast<double>(std::bit_cast<std::int64_t>(TenTo(power)) + away);
            for (int digits = 1; digits <= 15; ++digits) CheckRounding(near, digits);
        }
    }
}

TEST(Numbers, RoundsAnywhere) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 1000000; ++i) {
        const int digits = i % 17;
        const std::uint64_t bits = random();
        CheckRounding(std::bit_cast<double>(bits), digits);
        CheckRounding(std::bit_cast<double>(bits & 0x800FFFFFFFFFFFFF >> i % 52), digits);  // often subnormal
        CheckRounding((static_cast<double>(bits >> (63 - digits * 3)) + 0.5) * TenTo(i % 40 - 20), digits);
    }
}

TEST(Numbers, Borders) {
    EXPECT_EQ(CompareTolerant(1.0, 1.0000000001), 0);
    EXPECT_EQ(CompareTolerant(-2.0, -1.0), -1);
    EXPECT_EQ(CompareTolerant(0.0, 9e-10), 0);
    EXPECT_EQ(CompareTolerant(1e-9, 0.0), 1);
    EXPECT_EQ(ConvergenceBars(28.0, 6), 194);
    EXPECT_EQ(ConvergenceBars(1e300, 15), 2147483647);
    EXPECT_EQ(TruncateToInt(-2147483647.9), -2147483647);
    EXPECT_EQ(TruncateToInt(2147483647.9), 2147483647);
    for (const double outside : {2147483648.0, -2147483648.9, -2147483649.0, 1e300, -1e300, std::nan("")})
        EXPECT_EQ(TruncateToInt(outside), UndefinedParam) << outside;
}

}  // namespace
}  // namespace sarvane::test
