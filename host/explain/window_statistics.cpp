#include "explain/recipes.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace sarvane::study {
namespace {

// The values of a window, the newest first: "key, key[1], key[2]".
std::string Listed(const std::string& name, std::size_t n) {
    std::string text = name;
    for (std::size_t back = 1; back < n; ++back) text += fmt::format(", {}[{}]", name, back);
    return text;
}

std::vector<Step> Extreme(const OperatorCall& call, const char* function) {
    const std::size_t n = call.Window("period");
    const double distance = call.Output(1);
    if (n == 0 || IsUndefined(distance) || call.Number("keepGaps").value_or(0.0) != 0.0) return {};
    const std::string back = distance > 0.0 ? fmt::format("[{}]", distance) : "";
    return {{"x", "fill(value)"},
            {"k", "fill(key)"},
            {"extreme", fmt::format("{}({})", function, Listed("k", n))},
            {"curve1", fmt::format("if(k{0} = extreme, x{0}, 0 / 0)", back), "x" + back, "x" + back}};
}

std::vector<Step> Middle(const OperatorCall& call) {
    std::vector<double> window = call.Carried("curve");
    const std::size_t n = call.Window("period");
    if (n == 0 || call.IsBound("period")) return {};
    window.erase(window.begin(), window.end() - static_cast<std::ptrdiff_t>(n));
    std::ranges::sort(window);
    const auto step = [&](std::string text) {
        return std::vector<Step>{{.name = "out", .text = std::move(text), .firstBar = call.Run().LastBar() + 1 - n}};
    };
    if (const auto rank = call.Number("rankFromTop"); rank && *rank >= 1.0) {
        if (*rank > static_cast<double>(n)) return {};
        return step(fmt::format("{}", window[n - static_cast<std::size_t>(*rank)]));
    }
    if (n % 2 == 1) return step(fmt::format("{}", window[n / 2]));
    return step(fmt::format("({} + {}) / 2", window[n / 2 - 1], window[n / 2]));
}

// Missing values, NaN and infinities do not enter.
std::vector<Step> Percentiles(const OperatorCall& call) {
    const std::span<const double> values = call.Input("curve");
    const auto size = static_cast<std::size_t>(call.Number("windowSize").value_or(0.0));
    std::vector<double> window;
    std::size_t oldest = values.size();
    while (oldest > 0 && window.size() < size) {
        const double value = values[--oldest];
        if (!IsUndefined(value) && std::isfinite(value)) window.push_back(value);
    }
    if (window.empty() || call.IsBound("curve2")) return {};
    std::ranges::sort(window);
    std::vector<Step> steps;
    for (int which = 1; which <= 3; ++which) {
        const auto percent = call.Number(fmt::format("percent{}", which));
        if (!percent) continue;
        const double position = static_cast<double>(window.size() - 1) * *percent / 100.0;
        const auto below = static_cast<std::size_t>(position), above = std::min(below + 1, window.size() - 1);
        const double part = position - static_cast<double>(below);
        const bool blends = call.Number("interpolate").value_or(1.0) == 1.0;
        std::string text = blends && part > 0.0
                               ? fmt::format("{} + ({} - {}) * {}", window[below], window[above], window[below], part)
                               : fmt::format("{}", window[part >= 0.5 ? above : below]);
        steps.push_back({.name = fmt::format("curve{}", which), .text = std::move(text), .firstBar = oldest});
    }
    return steps;
}

std::string Divisor(const OperatorCall& call, std::size_t n) {
    const bool isSample = call.Number("useNMinus1").value_or(0.0) != 0.0 && n > 1;
    return fmt::format("{}", isSample ? n - 1 : n);
}

std::vector<Step> Deviation(const OperatorCall& call) {
    const std::size_t n = call.Window("period");
    return {{"x", "fill(curve)"},
            {"mean", fmt::format("sum(x, {0}) / {0}", n), "", "", true},
            {"out", fmt::format("sqrt(sum((mean - x) * (mean - x), {}) / {})", n, Divisor(call, n))}};
}

std::vector<Step> DeviationFromReference(const OperatorCall& call) {
    const std::size_t n = call.Window("period");
    return {{"x", "fill(curve)"},
            {"m", "fill(reference)", "", "", true},
            {"out", fmt::format("sqrt(sum((m - x) * (m - x), {}) / {})", n, Divisor(call, n))}};
}

std::vector<Step> MeanDeviation(const OperatorCall& call) {
    const std::size_t n = call.Window("period");
    return {{"x", "fill(curve)"},
            {"mean", fmt::format("sum(x, {0}) / {0}", n), "", "", true},
            {"out", fmt::format("sum(abs(mean - x), {0}) / {0}", n)}};
}

std::vector<Step> Correlation(const OperatorCall& call) {
    const std::size_t n = call.Window("period");
    const auto mean = [&](const char* of) { return fmt::format("sum({}, {}) / {}", of, n, n); };
    return {{"x", "if(defined(a) and defined(b), a, prev(a))"},
            {"y", "if(defined(a) and defined(b), b, prev(b))"},
            {"meanX", mean("x")},
            {"meanY", mean("y")},
            {"meanXY", mean("x * y")},
            {"varianceX", mean("x * x") + " - meanX * meanX"},
            {"varianceY", mean("y * y") + " - meanY * meanY"},
            {"out", "(meanXY - meanX * meanY) / sqrt(varianceX * varianceY) * 100"}};
}

std::vector<Step> Rank(const OperatorCall& call) {
    const std::size_t n = call.Window("period");
    const char* const beats = call.Number("direction").value_or(0.0) > 0.0 ? ">" : "<";
    if (call.IsBound("period")) return {};
    return {{"x", "fill(curve)"},
            {"newest", "x", "", "", true},
            {"better", fmt::format("sum(x {} newest, {})", beats, n)},
            {"equal", fmt::format("sum(x = newest, {}) - 1", n)},
            {"out", "1 + better + tieWeight * equal"}};
}

std::vector<Step> Sampled(const OperatorCall& call) {
    const bool byRise = call.Number("triggerMode").value_or(0.0) == 1.0;
    return {{"fires", byRise ? "fill(trigger >= 0 and trigger > trigger[1], 0)" : "fill(trigger > 0, 0)"},
            {"barsLeft", "if(defined(curve), if(fires, sampleBars, max(prev(0) - 1, 0)), prev(0))", "", ""},
            {"out",
             call.Number("holdLast").value_or(1.0) != 0.0
                 ? "if(defined(curve), if(barsLeft > 0, curve, prev(0 / 0)), 0 / 0)"
                 : "if(barsLeft > 0, curve, 0 / 0)",
             "if(barsLeft > 0, curve, before)", "curve"}};
}

}  // namespace

std::vector<Recipe> WindowRecipes() {
    return {{"HiLev", [](const OperatorCall& call) { return Extreme(call, "max"); }},
            {"LoLev", [](const OperatorCall& call) { return Extreme(call, "min"); }},
            {"Middle", Middle},
            {"MedOp", Percentiles},
            {"SDev", Deviation},
            {"DevSqrt", DeviationFromReference},
            {"MeanDev", MeanDeviation},
            {"Correl", Correlation},
            {"Ranking", Rank},
            {"Samp", Sampled}};
}

}  // namespace sarvane::study
