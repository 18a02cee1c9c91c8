#include "bars/number_format.h"

#include "language/parser.h"
#include "sarvane/values.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace sarvane::study {
namespace {

constexpr std::string_view GapWords[] = {"nan", "-nan", "null", "none", "n/a", "#n/a", "na", "-", "--", "."};
constexpr std::string_view Currencies[] = {"$", "\xE2\x82\xAC", "\xC2\xA3", "\xC2\xA5"};  // $ euro pound yen
constexpr std::string_view GroupSeparators[] = {"\xC2\xA0", "\xE2\x80\xAF", "\xE2\x80\x89", " ",
                                                "'",        "\xE2\x80\x99"};  // between three digits
constexpr std::string_view MinusSign = "\xE2\x88\x92";
constexpr std::size_t LongestNumber = 64;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

std::optional<double> ReadPlain(std::string_view text) {
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) return std::nullopt;
    return value;
}

// Takes away signs of currencies and a percent sign, and reports whether the number is negative.
std::string_view WithoutUnits(std::string_view text, bool& isNegative) {
    const auto takeSign = [&] {
        if (text.starts_with(MinusSign)) {
            text.remove_prefix(MinusSign.size());
        } else if (text.starts_with('-')) {
            text.remove_prefix(1);
        } else {
            if (text.starts_with('+')) text.remove_prefix(1);
            return false;
        }
        return true;
    };
    isNegative = takeSign();
    for (const std::string_view currency : Currencies) {
        if (text.starts_with(currency)) {
            text = WithoutBlanks(text.substr(currency.size()));
            if (!isNegative) isNegative = takeSign();
        } else if (text.ends_with(currency)) {
            text = WithoutBlanks(text.substr(0, text.size() - currency.size()));
        }
    }
    if (text.ends_with('%')) text = WithoutBlanks(text.substr(0, text.size() - 1));
    return text;
}

// The part of a number that was written: digits in groups, with decimals behind.
struct Groups {
    std::array<char, LongestNumber> plain = {};  // without what stands between groups, with a point
    std::size_t length = 0;
    bool fits = false;
};

Groups ReadGroups(std::string_view text, char decimal) {
    Groups read;
    const char between = decimal == '.' ? ',' : '.';
    std::string_view separator;  // the one that this number has
    std::size_t digits = 0, groupLength = 0;
    bool hasDecimals = false;
    const auto isSeparator = [&] {
        if (text.front() == between) return std::string_view(between == ',' ? "," : ".");
        for (const std::string_view blank : GroupSeparators) {
            if (text.starts_with(blank)) return blank;
        }
        return std::string_view();
    };
    while (!text.empty()) {
        if (read.length + 1 >= read.plain.size()) return read;
        const char c = text.front();
        if (IsDigit(c)) {
            read.plain[read.length++] = c;
            ++digits, ++groupLength;
            text.remove_prefix(1);
        } else if (c == decimal && !hasDecimals) {
            if (!separator.empty() && groupLength != 3) return read;
            hasDecimals = true;
            read.plain[read.length++] = '.';
            text.remove_prefix(1);
        } else if ((c == 'e' || c == 'E') && digits > 0) {
            if (!separator.empty()) return read;
            if (text.size() > read.plain.size() - read.length) return read;
            read.length =
                static_cast<std::size_t>(std::ranges::copy(text, &read.plain[read.length]).out - read.plain.data());
            read.fits = true;
            return read;
        } else {
            const std::string_view found = isSeparator();
            const bool isFirst = separator.empty();
            if (found.empty() || hasDecimals || (!isFirst && found != separator)) return read;
            if (isFirst ? groupLength < 1 || groupLength > 3 : groupLength != 3) return read;
            separator = found;
            groupLength = 0;
            text.remove_prefix(found.size());
        }
    }
    read.fits = digits > 0 && (separator.empty() || hasDecimals || groupLength == 3);
    return read;
}

}  // namespace

std::string_view WithoutBlanks(std::string_view text) {
    const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return text;
}

std::optional<double> ReadNumber(std::string_view cell, NumberFormat format) {
    cell = WithoutBlanks(cell);
    if (format.decimal == '.') {
        if (const auto value = ReadPlain(cell)) return value;
    }
    bool isNegative = false;
    const std::string_view text = WithoutUnits(cell, isNegative);
    if (!format.isCertain && EvidenceOf(text) == DecimalEvidence::Unclear) return std::nullopt;
    const Groups groups = ReadGroups(text, format.decimal);
    if (!groups.fits) return std::nullopt;
    const auto value = ReadPlain({groups.plain.data(), groups.length});
    return value && isNegative ? -*value : value;
}

bool IsGapText(std::string_view cell) {
    cell = WithoutBlanks(cell);
    return cell.empty() ||
           std::ranges::any_of(GapWords, [&](std::string_view word) { return EqualIgnoringCase(cell, word); });
}

DecimalEvidence EvidenceOf(std::string_view cell) {
    bool isNegative = false;
    const std::string_view text = WithoutUnits(WithoutBlanks(cell), isNegative);
    const bool asPoint = ReadGroups(text, '.').fits, asComma = ReadGroups(text, ',').fits;
    const bool hasPoint = text.find('.') != std::string_view::npos, hasComma = text.find(',') != std::string_view::npos;
    if ((!hasPoint && !hasComma) || (!asPoint && !asComma)) return DecimalEvidence::None;
    if (asPoint != asComma) return asPoint ? DecimalEvidence::Point : DecimalEvidence::Comma;
    // 0.123 would be a strange group of digits.
    if (text.starts_with('0')) return hasPoint ? DecimalEvidence::Point : DecimalEvidence::Comma;
    return hasPoint ? DecimalEvidence::ProbablyPoint : DecimalEvidence::Unclear;
}

}  // namespace sarvane::study
