#include "chart/page_data.h"

#include "failure.h"
#include "sarvane/values.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <zlib.h>

namespace sarvane::study {
namespace {

constexpr int MostDecimals = 10;
constexpr double LargestExact = 9007199254740991.0;  // of the whole numbers, all up to it are doubles

bool IsGap(double value) { return IsUndefined(value) || !std::isfinite(value); }

std::string Base64(const std::string& bytes) {
    constexpr char Digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - at);
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i)
            group = group << 8 | (i < count ? static_cast<unsigned char>(bytes[at + i]) : 0u);
        for (std::size_t i = 0; i < 4; ++i) text += i <= count ? Digits[group >> (18 - 6 * i) & 63] : '=';
    }
    return text;
}

// 1, 10, 100 and so on, each exact.
double PowerOfTen(int exponent) {
    double power = 1;
    for (; exponent > 0; --exponent) power *= 10;
    return power;
}

// The page divides the whole number by the power again.
bool IsExact(double value, double power) {
    return std::abs(value * power) <= LargestExact && std::round(value * power) / power == value;
}

// The fewest decimals that give every value exactly. None if they are too many.
std::optional<int> Decimals(std::span<const double> values) {
    int decimals = 0;
    for (const double value : values) {
        while (!IsGap(value) && !IsExact(value, PowerOfTen(decimals))) {
            if (++decimals > MostDecimals) return std::nullopt;
        }
    }
    // More decimals than the earlier values have may be too many for them.
    const double power = PowerOfTen(decimals);
    const bool isExact = std::ranges::all_of(values, [&](double value) { return IsGap(value) || IsExact(value, power); });
    return isExact ? std::optional(decimals) : std::nullopt;
}

// Seven bits a byte, the lowest first; the highest bit says that more follow.
void AddNumber(std::uint64_t number, std::string& bytes) {
    for (; number >= 0x80; number >>= 7) bytes += static_cast<char>(number | 0x80);
    bytes += static_cast<char>(number);
}

// 0 is a gap; from 1 on, the differences 0, -1, 1, -2, 2 and so on.
void AddDifferences(std::span<const double> values, int decimals, std::string& bytes) {
    const double power = PowerOfTen(decimals);
    std::int64_t before = 0;
    for (const double value : values) {
        if (IsGap(value)) {
            AddNumber(0, bytes);
            continue;
        }
        const auto number = static_cast<std::int64_t>(std::round(value * power));
        const std::int64_t step = number - before;
        AddNumber(step < 0 ? static_cast<std::uint64_t>(-step) * 2 : static_cast<std::uint64_t>(step) * 2 + 1, bytes);
        before = number;
    }
}

void AddDoubles(std::span<const double> values, std::string& bytes) {
    for (unsigned byte = 0; byte < sizeof(double); ++byte) {
        for (const double value : values) {
            const double shown = IsGap(value) ? std::numeric_limits<double>::quiet_NaN() : value;
            bytes += static_cast<char>(std::bit_cast<std::uint64_t>(shown) >> (8 * byte));
        }
    }
}

std::string Deflated(const std::string& bytes) {
    uLongf size = compressBound(static_cast<uLong>(bytes.size()));
    std::string deflated(size, '\0');
    const int status = compress2(reinterpret_cast<Bytef*>(deflated.data()), &size,
                                 reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uLong>(bytes.size()),
                                 Z_DEFAULT_COMPRESSION);
    if (status != Z_OK) Fail("the chart's data can't be compressed");
    deflated.resize(size);
    return deflated;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// With 0 for each digit.
std::string Skeleton(std::string date) {
    for (char& c : date) {
        if (IsDigit(c)) c = '0';
    }
    return date;
}

// All digits one behind the other.
double DigitsOf(const std::string& date) {
    double digits = 0;
    for (const char c : date) {
        if (IsDigit(c)) digits = 10 * digits + (c - '0');
    }
    return digits;
}

}  // namespace

nlohmann::json PageData::Column(std::span<const double> values) {
    nlohmann::json column = {{"count", values.size()}, {"at", columns.size()}};
    if (const auto decimals = Decimals(values)) {
        column["decimals"] = *decimals;
        AddDifferences(values, *decimals, columns);
    } else {
        AddDoubles(values, columns);
    }
    return column;
}

nlohmann::json PageData::Dates(const std::vector<std::string>& dates) {
    constexpr std::ptrdiff_t MostDigits = 15;  // a double holds them all
    if (dates.empty()) return dates;
    const std::string skeleton = Skeleton(dates.front());
    if (std::ranges::count(skeleton, '0') > MostDigits) return dates;
    std::vector<double> digits;
    for (const std::string& date : dates) {
        if (Skeleton(date) != skeleton) return dates;
        digits.push_back(DigitsOf(date));
    }
    return {{"skeleton", skeleton}, {"digits", Column(digits)}};
}

std::string PageData::Text(const nlohmann::json& description) const {
    constexpr int Compact = -1;
    // Texts of a file may be no UTF-8.
    const std::string json = description.dump(Compact, ' ', true, nlohmann::json::error_handler_t::replace);
    std::string bytes;
    for (unsigned byte = 0; byte < 4; ++byte) bytes += static_cast<char>(json.size() >> (8 * byte));
    return Base64(Deflated(bytes + json + columns));
}

}  // namespace sarvane::study
