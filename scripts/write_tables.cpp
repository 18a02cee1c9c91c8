// Writes the headers with computed tables, powers_of_ten.h and logarithm_table.h, into the given folder:
//
//     cmake --build --preset release --target write_tables
//     build/release/bin/write_tables src/frame
//
// It needs nothing of the library, and writes the same texts on every platform. A test compares them with the headers.

#include <algorithm>
#include <bit>
#include <boost/multiprecision/cpp_bin_float.hpp>
#include <boost/multiprecision/cpp_int.hpp>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

namespace {

using boost::multiprecision::cpp_bin_float;
using boost::multiprecision::digit_base_2;
using Precise = boost::multiprecision::number<cpp_bin_float<400, digit_base_2>>;

constexpr int LowestPower = -323;
constexpr int HighestPower = 308;
constexpr int FirstInterval = 106;  // the one that begins below the square root of 2, 1 + 106/256

// The entries of an array, in lines of up to 120 characters.
class Entries {
public:
    void Add(const std::string& entry) {
        if (line.size() + entry.size() + 2 > 120) {
            text += line + "\n";
            line = "   ";
        }
        line += " " + entry + ",";
    }
    std::string Text() const { return text + line + "\n"; }

private:
    std::string text;
    std::string line = "   ";
};

double PowerOfTen(int power) {
    const std::string text = "1e" + std::to_string(power);
    double value = 0.0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

double NearestLogarithm(double value) { return static_cast<double>(log(Precise(value))); }

// The decimal logarithm by the formula of the GNU C library 2.36, which rounds four times: of the exponent y and the
// significand m of a number, y log10(2) + log10(e) log(m), with log10(2) as two doubles.
double DecimalLogarithm(double value) {
    int exponent = 0;
    const double fraction = std::frexp(value, &exponent);  // from 0.5 to 1
    const bool isBelowOne = exponent < 1;
    const double significand = isBelowOne ? fraction : 2.0 * fraction;
    const double y = isBelowOne ? exponent : exponent - 1;
    const double low = y * 0x1.9fef311f12b36p-42 + 0x1.bcb7b1526e50ep-2 * NearestLogarithm(significand);
    return low + y * 0x1.34413509f6p-2;
}

// How many doubles above a power of ten, or below it, the last one lies whose logarithm does not exceed the exponent.
int LogarithmReach(int power) {
    const auto nearest = std::bit_cast<std::int64_t>(PowerOfTen(power));
    const auto isWithin = [&](int reach) { return DecimalLogarithm(std::bit_cast<double>(nearest + reach)) <= power; };
    int reach = 0;
    while (isWithin(reach + 1)) ++reach;
    while (!isWithin(reach)) --reach;
    return reach;
}

std::string PowersOfTen() {
    Entries powers, reaches;
    for (int power = LowestPower; power <= HighestPower; ++power) {
        powers.Add("1e" + std::to_string(power));
        reaches.Add(std::to_string(LogarithmReach(power)));
    }
    return R"(
#include <cstdint>

namespace sarvane {

inline constexpr int LowestPower = -323;
inline constexpr int HighestPower = 308;

// The doubles nearest to the powers of ten that a double can hold, from the lowest on.
inline constexpr double PowersOfTen[] = {
)" + powers.Text() +
           R"(};

// Decimal logarithms are rounded, so that a few doubles just above 10^p still have the logarithm p. Entry
// p - LowestPower counts them: it is the number of doubles from 10^p to the last x whose logarithm does not exceed p.
inline constexpr std::int16_t LogarithmReach[] = {
)" + reaches.Text() +
           R"(};

}  // namespace sarvane
)";
}

// A number as the nearest multiple of 2^-42, which is a double if it is below 2^11, and the double nearest to the rest.
struct Split {
    explicit Split(const Precise& number)
        : high(static_cast<double>(round(ldexp(number, 42))) * 0x1p-42 + 0.0),
          low(static_cast<double>(number - high) + 0.0) {}

    double high;
    double low;
};

std::string Hex(double number) {
    char text[40];
    std::snprintf(text, sizeof text, "%a", number);
    return text;
}

// 512 divided by the middle of interval `n`, as a whole number. Next to 1 and 2 it is 512 and 256, so that numbers
// near 1 are not moved.
int Factor(int n) {
    if (n == 0) return 512;
    if (n == 255) return 256;
    return static_cast<int>(std::lround(512.0 / (1.0 + (n + 0.5) / 256.0)));
}

std::string LogarithmTable() {
    const Precise ln2 = log(Precise(2));
    std::ostringstream text;
    text << R"(
#include <boost/multiprecision/cpp_int.hpp>
#include <cstdint>

namespace sarvane {

// ln(2) = Ln2High + Ln2Low. `Ln2High` is a multiple of 2^-42.
inline constexpr double Ln2High = )"
         << Hex(Split(ln2).high) << ";\ninline constexpr double Ln2Low = " << Hex(Split(ln2).low) << R"(;

// ln(2) in units of 2^-256.
inline constexpr boost::multiprecision::int512_t Ln2Digits = [] {
    using namespace boost::multiprecision::literals;
    return 0x)"
         << boost::multiprecision::cpp_int(round(ldexp(ln2, 256))).str(0, std::ios_base::hex) << R"(_cppi512;
}();

// For numbers of one interval: a factor near their inverse, and minus its logarithm as the sum of two doubles.
struct LogarithmRow {
    std::int64_t factor;  // in units of 1/512, and of 1/256 in the first 150 rows
    double high;          // a multiple of 2^-42
    double low;
};

// Row i is for numbers from b = LogarithmRowsBegin + i/512 up to b + 1/512 in the first 150 rows, which reach up to 1,
// and then from 1 + (i - 150)/256 on in steps of 1/256.
inline constexpr double LogarithmRowsBegin = )"
         << Hex((1.0 + FirstInterval / 256.0) / 2.0) << ";\ninline constexpr LogarithmRow LogarithmRows[256] = {\n";
    for (int i = 0; i < 256; ++i) {
        const int n = (i + FirstInterval) % 256;
        const Split logarithm(-log(Precise(Factor(n)) / (n >= FirstInterval ? 256 : 512)));
        text << "    {" << Factor(n) << ", " << Hex(logarithm.high) << ", " << Hex(logarithm.low) << "},\n";
    }
    text << "};\n\n}  // namespace sarvane\n";
    return text.str();
}

bool Write(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << "#pragma once\n\n// Written by scripts/write_tables.cpp.\n" << text;
    return bool(file.flush());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const std::string folder = argv[1];
    const bool written =
        Write(folder + "/powers_of_ten.h", PowersOfTen()) && Write(folder + "/logarithm_table.h", LogarithmTable());
    if (!written) std::fprintf(stderr, "cannot write into %s\n", argv[1]);
    return written ? 0 : 1;
}
