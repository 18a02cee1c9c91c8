// Compares the frame's numbers and texts with those of this platform's C library. The C libraries of other platforms
// differ in last digits; there same_bits.cpp compares with the fingerprints of this platform instead.

#include "frame/numbers.h"
#include "frame/text.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace sarvane::test {
namespace {

// Compares with strtoll and strtod, except that nothing but white space may follow the number.
void CheckNumbers(const std::string& text) {
    char* end = nullptr;
    const auto isWhole = [&] {
        return end != text.c_str() && std::string_view(end).find_first_not_of(" \t\n\v\f\r") == std::string::npos;
    };
    const long long integer = std::clamp<long long>(std::strtoll(text.c_str(), &end, 10), UndefinedParam, 2147483647);
    EXPECT_EQ(TextToInt(Widen(text).c_str()), isWhole() ? integer : UndefinedParam) << text;
    double number = std::strtod(text.c_str(), &end);
    if (!isWhole()) number = UndefinedValue;
    EXPECT_EQ(std::bit_cast<std::int64_t>(TextToDouble(Widen(text).c_str())), std::bit_cast<std::int64_t>(number))
        << text;
}

TEST(CLibrary, IsFollowedInReadingNumbers) {
    std::istringstream odd(
        "| |+|.|.e1|1.|.5|1e+|+-1|1 2|1,5| \t\n\v\f\r7\r |- 1|42|2147483648|-2147483649|-99999999999999999999|-4.25e-3|"
        "inf|-INF|infinit|Infinity|-nan|nan(1_a)|nan(|0x|0x.|0X.8p1|0x1.p|0x1p+|0x1p+-1|0x-1|0xinf|0x1.8cP-20|1p3|"
        "1.7976931348623159e308|-1e309|-1e-400|0e999999999999|1e9223372036854775807|2.4703282292062328e-324|"
        "0x1.fffffffffffff8p1023|0x1.178e1bcca3c7d8p-1023|0x1p9223372036854775807|0x0.001p-9223372036854775807");
    std::vector<std::string> texts;
    for (std::string text; std::getline(odd, text, '|');) texts.push_back(text);
    constexpr std::string_view characters = "00123456789abcdef..eEpPxX+- inf";
    std::mt19937_64 random(1);
    for (int i = 0; i < 100000; ++i) {
        std::string text = texts[random() % texts.size()];
        for (std::size_t edits = random() % 3; edits > 0; --edits) {
            const std::size_t at = random() % (text.size() + 1), times = random() % 20 ? random() % 3 : 400;
            text.replace(at, random() % 2, times, characters[random() % characters.size()]);
        }
        CheckNumbers(text);
    }
    for (const char16_t* text : {u"1\u0130", u"\uFF11"}) EXPECT_EQ(TextToDouble(text), UndefinedValue);
}

template <class... Values>
void CheckFormat(const char* format, Values... values) {
    char expected[FormattedText::Capacity];
    std::snprintf(expected, sizeof expected, format, values...);
    EXPECT_EQ(std::u16string(FormatText(format, values...)), Widen(expected));
}

TEST(CLibrary, IsFollowedInFormatting) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 10000; ++i) {
        const auto any = std::bit_cast<double>(random());  // most don't fit
        for (const double value : {any, std::remainder(any, 1e6), i / 2048.0 - 2})
            CheckFormat("N( %%s, %d, %s, %.3f, %f, %20.10f)", static_cast<int>(random()), "text", value, value, value);
    }
    for (std::size_t n = 120; n < 130; ++n) CheckFormat("%s%d|", std::string(n, 'x').c_str(), 12345);
}

double TenTo(int power) {
    static const std::vector<double> powers = [] {
        std::vector<double> all;
        for (int p = -330; p <= 340; ++p) all.push_back(std::strtod(("1e" + std::to_string(p)).c_str(), nullptr));
        return all;
    }();
    return powers[static_cast<std::size_t>(power + 330)];
}

// Compares with the definition of rounding, which takes the logarithm of the C library.
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

TEST(CLibrary, IsFollowedInRoundingAroundPowersOfTen) {
    for (int power = -324; power <= 309; ++power) {
        for (int away = -600; away <= 600; ++away) {
            const auto near = std::bit_cast<double>(std::bit_cast<std::int64_t>(TenTo(power)) + away);
            for (int digits = 1; digits <= 15; ++digits) CheckRounding(near, digits);
        }
    }
}

TEST(CLibrary, IsFollowedInRounding) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 1000000; ++i) {
        const int digits = i % 17;
        const std::uint64_t bits = random();
        CheckRounding(std::bit_cast<double>(bits), digits);
        CheckRounding(std::bit_cast<double>(bits & 0x800FFFFFFFFFFFFF >> i % 52), digits);  // often subnormal
        CheckRounding((static_cast<double>(bits >> (63 - digits * 3)) + 0.5) * TenTo(i % 40 - 20), digits);
    }
}

}  // namespace
}  // namespace sarvane::test
