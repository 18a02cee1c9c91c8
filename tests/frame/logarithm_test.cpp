#include "frame/logarithm.h"

#include "frame/logarithm_table.h"

#include <bit>
#include <boost/multiprecision/cpp_bin_float.hpp>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace sarvane::test {
namespace {

using boost::multiprecision::cpp_bin_float;
using boost::multiprecision::digit_base_2;
using Precise = boost::multiprecision::number<cpp_bin_float<400, digit_base_2>>;

std::uint64_t Bits(double number) { return std::bit_cast<std::uint64_t>(number); }

double NearestLogarithm(double value) { return static_cast<double>(log(Precise(value))); }

void Check(double value) { ASSERT_EQ(Bits(Logarithm(value)), Bits(NearestLogarithm(value))) << std::hexfloat << value; }

void CheckAround(double value) {
    const auto bits = static_cast<std::int64_t>(Bits(value));
    for (int away = -2; away <= 2; ++away) {
        const auto near = std::bit_cast<double>(bits + away);
        if (near > 0.0 && std::isfinite(near)) Check(near);
    }
}

// The same as `Check`, in a thirtieth of the time: a long double whose error is below 4 of its own units decides unless
// it is that near to the middle of two doubles.
void CheckQuickly(double value) {
    constexpr long double Error = 4 * std::numeric_limits<long double>::epsilon();
    const long double logarithm = std::log(static_cast<long double>(value));
    const auto lower = static_cast<double>(logarithm * (1 - Error));
    const auto upper = static_cast<double>(logarithm * (1 + Error));
    if (lower != upper) return Check(value);
    ASSERT_EQ(Bits(Logarithm(value)), Bits(lower)) << std::hexfloat << value;
}

TEST(Logarithm, HasOneResultOfEveryKind) {
    constexpr double Infinity = std::numeric_limits<double>::infinity();
    const struct {
        double value;
        std::uint64_t expected;
    } cases[] = {
        {1.0, 0},
        {0.0, Bits(-Infinity)},
        {-0.0, Bits(-Infinity)},
        {Infinity, Bits(Infinity)},
        {-1.0, 0x7FF8000000000000},
        {-5e-324, 0x7FF8000000000000},
        {-Infinity, 0x7FF8000000000000},
        {std::bit_cast<double>(0x7FF8000000000123), 0x7FF8000000000123},
        {std::bit_cast<double>(0xFFF8000000000123), 0xFFF8000000000123},
    };
    for (const auto& [value, expected] : cases) EXPECT_EQ(Bits(Logarithm(value)), expected) << value;
}

// In how many bits behind the 53 of a double the logarithm agrees with a double or with the middle of two.
int AgreeingBits(double value) {
    const Precise logarithm = abs(log(Precise(value)));
    const Precise halves = ldexp(logarithm, 53 - ilogb(logarithm));  // the distance between doubles is 2
    return -static_cast<int>(ilogb(Precise(abs(halves - round(halves)))));
}

// The hardest to round among all doubles, from the literature, each with 60 bits or more that could be of a number that
// needs no rounding, or that lies in the middle.
TEST(Logarithm, IsNearestInTheHardestCases) {
    for (const double value : {0x1.ea71d85cee020p-509, 0x1.9476e304cd7c7p-384, 0x1.26e9c4d327960p-232,
                               0x1.613955dc802f8p-35, 0x1.62a88613629b6p678}) {
        EXPECT_GE(AgreeingBits(value), 60) << std::hexfloat << value;
        Check(value);
    }
}

// x - x^2/2 is often in the middle of two doubles, so that only the next term decides.
TEST(Logarithm, IsNearestNextToOne) {
    for (int i = 1; i <= 3000; ++i) {
        Check(1.0 + i * 0x1p-52);
        Check(1.0 - i * 0x1p-53);
    }
}

TEST(Logarithm, IsNearestAtBorders) {
    for (int exponent = -1074; exponent <= 1024; ++exponent) CheckAround(std::ldexp(1.0, exponent));
    for (int i = 0; i < 512; ++i) CheckAround(0.5 + i * 0x1p-9), CheckAround(1.0 + i * 0x1p-8);
    CheckAround(std::numeric_limits<double>::max());
}

// LOGARITHMS in the environment sets how many: 300 million take a minute.
TEST(Logarithm, IsNearestForRandomNumbers) {
    const char* const wanted = std::getenv("LOGARITHMS");
    const long long count = wanted ? std::atoll(wanted) : 3'000'000;
    std::mt19937_64 random(1);
    const auto prices = [&] { return static_cast<double>(random() % 1'000'000 + 1) / 100; };
    for (long long i = 0; i < count && !testing::Test::HasFatalFailure(); i += 6) {
        const std::uint64_t bits = random();
        const double fraction = static_cast<double>(bits >> 11) * 0x1p-53;
        CheckQuickly(std::bit_cast<double>(bits % 0x7FF0000000000000));  // of all sizes
        CheckQuickly(std::bit_cast<double>(bits % 0x0010000000000000));  // subnormal
        CheckQuickly(0.5 + 1.5 * fraction);
        CheckQuickly(1.0 + 0x1p-8 * fraction);  // the greatest error
        CheckQuickly(1.0 + std::ldexp(bits % 2 ? fraction : -fraction / 2, -static_cast<int>(bits % 53)));
        CheckQuickly(prices() / prices());
    }
}

// What the fast way counts on: `high` is a multiple of 2^-42, so that sums of it are exact; `high` + `low` is minus the
// logarithm of the factor; and with the factor z = m r - 1 is small over all of the row's interval, and no greater
// than `high`.
TEST(Logarithm, HasRowsAsItNeedsThem) {
    const Precise ln2 = log(Precise(2));
    EXPECT_EQ(std::ldexp(Ln2High, 42), std::trunc(std::ldexp(Ln2High, 42)));
    EXPECT_LT(abs(ln2 - Ln2High - Ln2Low), Precise(0x1p-97));
    EXPECT_LT(abs(Precise(Ln2Digits) - ldexp(ln2, 256)), 1);
    for (int i = 0; i < 256; ++i) {
        const bool isBelowOne = i < 150;
        const double begin = isBelowOne ? LogarithmRowsBegin + i / 512.0 : 1.0 + (i - 150) / 256.0;
        const double end = begin + (isBelowOne ? 1.0 / 512 : 1.0 / 256);
        const auto& [factor, high, low] = LogarithmRows[i];
        const double r = static_cast<double>(factor) / (isBelowOne ? 256 : 512);
        EXPECT_EQ(std::ldexp(high, 42), std::trunc(std::ldexp(high, 42))) << i;
        EXPECT_LT(abs(log(Precise(r)) + high + low), Precise(0x1p-96)) << i;
        const double z = std::max(std::abs(begin * r - 1.0), std::abs(end * r - 1.0));
        EXPECT_LE(z, high == 0.0 ? 0x1p-8 : std::min(0.75 * 0x1p-8, std::abs(high))) << i;
    }
}

}  // namespace
}  // namespace sarvane::test
