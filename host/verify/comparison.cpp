#include "verify/comparison.h"

#include "failure.h"
#include "language/parser.h"
#include "path.h"

#include <algorithm>
#include <cmath>
#include <fmt/ranges.h>

namespace sarvane::study {
namespace {

double Median(std::vector<double> values) {
    if (values.empty()) return 0.0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

bool HasValue(double value) { return !IsUndefined(value) && !std::isnan(value); }

}  // namespace

int DigitsAgreeing(double a, double b, double usual) {
    if (a == b || (std::isnan(a) && std::isnan(b))) return AllDigits;
    if (!HasValue(a) || !HasValue(b)) return 0;
    const double share = std::abs(a - b) / std::max({std::abs(a), std::abs(b), usual});
    return std::isfinite(share) ? std::clamp(static_cast<int>(-std::log10(share)), 0, AllDigits - 1) : 0;
}

double UsualSize(std::span<const double> values) {
    std::vector<double> sizes;
    for (const double value : values) {
        if (HasValue(value)) sizes.push_back(std::abs(value));
    }
    return Median(std::move(sizes));
}

int OtherColumn::Decimals() const {
    int most = 0;
    for (const double value : values) {
        if (!HasValue(value) || !std::isfinite(value)) continue;
        const std::string text = fmt::format("{}", value);
        if (text.find('e') != std::string::npos) return AllDigits;
        const std::size_t point = text.find('.');
        // A whole number is written as 5.0 or 5.
        if (point == std::string::npos || text.substr(point) == ".0") continue;
        most = std::max(most, static_cast<int>(text.size() - point - 1));
    }
    return most;
}

OtherColumn ReadOtherColumn(const std::string& place, const ReadSettings& settings) {
    std::string file = place, title;
    std::error_code unknown;
    if (const std::size_t colon = place.rfind(':');
        colon != std::string::npos && !std::filesystem::exists(PathOf(place), unknown)) {
        file = place.substr(0, colon);
        title = place.substr(colon + 1);
    }
    ReadSettings reading = settings;
    reading.wanted = [&](const std::vector<std::string>& titles, const std::vector<bool>& hasNumbers) {
        std::vector<bool> wanted = hasNumbers;
        for (std::size_t i = 0; i < titles.size() && !title.empty(); ++i)
            wanted[i] = EqualIgnoringCase(titles[i], title);
        return wanted;
    };
    const BarFile bars(PathOf(file), reading);
    if (!bars.HasTimes()) Fail("{}: has no times to find its bars by", file);
    if (title.empty() && bars.Columns().size() != 1)
        Fail("{}: which column? {}:COLUMN tells it: {}", file, file, fmt::join(bars.Columns(), ", "));
    const auto column = title.empty() ? std::optional<std::size_t>(0) : bars.FindColumn(title);
    if (!column)
        Fail("{}: has no column {}; it has {}", file, Quoted(title), fmt::join(ReadColumns(PathOf(file)), ", "));
    OtherColumn other{place, {}, {}, {}};
    for (std::size_t bar = 0; bar < bars.BarCount(); ++bar) {
        other.times.push_back(bars.Time(bar));
        other.dates.emplace_back(bars.Date(bar));
        other.values.push_back(bars.Value(*column, bar));
    }
    return other;
}

CommonBars FindCommonBars(std::span<const BarTime> first, std::span<const BarTime> second) {
    CommonBars common;
    for (std::size_t a = 0, b = 0; a < first.size() && b < second.size();) {
        if (first[a] == second[b])
            common.emplace_back(a++, b++);
        else if (first[a] < second[b])
            ++a;
        else
            ++b;
    }
    return common;
}

Agreement Compare(const CommonBars& common, std::span<const double> values, const OtherColumn& other,
                  const Tolerance& tolerance, int shift) {
    const auto count = static_cast<std::ptrdiff_t>(common.size());
    const auto ours = [&](std::ptrdiff_t i) {
        const std::ptrdiff_t from = i - shift;
        return from >= 0 && from < count ? values[common[static_cast<std::size_t>(from)].first] : UndefinedValue;
    };
    const auto theirs = [&](std::ptrdiff_t i) { return other.values[common[static_cast<std::size_t>(i)].second]; };

    std::ptrdiff_t first = count, last = -1;  // with both values
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        if (!HasValue(theirs(i)) || !HasValue(ours(i))) continue;
        first = std::min(first, i);
        last = i;
    }
    const double usual = UsualSize(other.values);

    Agreement result;
    result.first = static_cast<std::size_t>(std::max<std::ptrdiff_t>(std::min(first, count - 1), 0));
    std::vector<double> digits;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const double a = ours(i), b = theirs(i);
        const bool isHere = HasValue(a), isThere = HasValue(b);
        if (!isHere && !isThere) continue;
        if (i < first || i > last) {
            ++(isHere ? result.onlyHere : result.onlyThere);
            continue;
        }
        ++result.compared;
        const int agreeing = DigitsAgreeing(a, b, usual);
        digits.push_back(agreeing);
        const double limit = tolerance.relative * std::max({std::abs(a), std::abs(b), usual}) + tolerance.absolute;
        const bool agrees = isHere && isThere && (a == b || std::abs(a - b) <= limit);
        const auto place = static_cast<std::size_t>(i);
        if (agreeing < result.worstDigits) {
            result.worstDigits = agreeing;
            result.worst = place;
        }
        if (agrees) continue;
        if (result.differing++ == 0) result.firstDifferent = place;
        result.lastDifferent = place;
    }
    result.usualDigits = digits.empty() ? 0 : static_cast<int>(Median(digits));
    return result;
}

}  // namespace sarvane::study
