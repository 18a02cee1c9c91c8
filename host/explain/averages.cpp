#include "explain/recipes.h"

#include <cmath>
#include <fmt/format.h>

namespace sarvane::study {
namespace {

// Of the newest value n, of the one before n - 1, and so on.
std::vector<std::string> Weighted(std::size_t n, bool newestWeighsMost) {
    std::vector<std::string> terms;
    for (std::size_t back = n; back-- > 0;) {
        const std::size_t weight = newestWeighsMost ? n - back : back + 1;
        terms.push_back(back == 0 ? fmt::format("{} * x", weight) : fmt::format("{} * x[{}]", weight, back));
    }
    return terms;
}

std::vector<Step> Simple(const OperatorCall& call) {
    const std::size_t n = call.Window("period");
    return {{"x", "fill(curve)"}, {"total", fmt::format("sum(x, {})", n)}, {"out", fmt::format("total / {}", n)}};
}

std::vector<Step> Linear(const OperatorCall& call) {
    const std::size_t n = call.Window("period");
    return {{"x", "fill(curve)"}, {"out", fmt::format("{} / {}", Added(Weighted(n, true)), n * (n + 1) / 2)}};
}

std::vector<Step> Exponential(const OperatorCall&) {
    return {{"x", "fill(curve)"}, {"share", ShareOf("smoothing")}, Moving("out", "x", "share")};
}

std::vector<Step> Triangular(const OperatorCall&) {
    return {{"x", "fill(curve)"},
            {"share", ShareOf("smoothing")},
            Moving("e1", "x", "share"),
            Moving("e2", "e1", "share"),
            Moving("out", "e2", "share")};
}

std::vector<Step> Hull(const OperatorCall&) {
    return {{"x", "fill(curve)"},
            {"share", ShareOf("smoothing")},
            {"shareOfHalf", ShareOf("(smoothing / 2)")},
            {"shareOfRoot", ShareOf("sqrt(smoothing)")},
            Moving("e1", "x", "share"),
            Moving("e2", "x", "shareOfHalf"),
            {"ahead", "e2 + e2 - e1"},
            Moving("out", "ahead", "shareOfRoot")};
}

std::vector<Step> Smoothed(const OperatorCall& call) {
    const std::string start = fmt::format("sum(x, {0}) / {0}", call.Number("period").value_or(1.0));
    return {{"x", "fill(curve)"},
            {"out", fmt::format("if(defined(prev(0 / 0)), (x - prev(0 / 0)) / period + prev(0 / 0), {})", start),
             "(x - before) / period + before", start}};
}

std::vector<Step> Adaptive(const OperatorCall& call) {
    const auto n = static_cast<long long>(call.Number("period").value_or(0.0));
    if (n < 2) return {};
    return {{"x", "fill(curve)"},
            {"way", fmt::format("abs(x - x[{}])", n - 1)},
            {"walked", fmt::format("sum(abs(x - x[1]), {})", n - 1)},
            {"slow", "2 / (slowPeriod + 1)"},
            {"factor", "way / walked * (2 / (fastPeriod + 1) - slow) + slow"},
            {"out",
             "if(defined(factor), if(defined(prev(0 / 0)), factor * factor * (x - prev(0 / 0)) + prev(0 / 0), x), "
             "prev(0 / 0))",
             "factor * factor * (x - before) + before", "x"}};
}

std::vector<Step> OfLogarithm(const OperatorCall&) {
    return {{"x", "fill(curve)"},
            {"logarithm", "if(x < 0, -log(-x), log(x))"},
            {"share", "2 / (period + 1)"},
            Moving("e1", "logarithm", "share"),
            Moving("e2", "e1", "share"),
            Moving("e3", "e2", "share"),
            {"out", "(e3 - e3[1]) * 1000000"}};
}

// The mean of the last values that came with this bar's key.
std::vector<Step> OfOneKey(const OperatorCall& call) {
    const std::span<const double> values = call.Input("curve"), keys = call.Input("key");
    const auto period = static_cast<std::size_t>(call.Number("period").value_or(0.0));
    std::vector<std::string> terms;
    std::size_t oldest = 0;
    for (std::size_t bar = values.size(); bar-- > 0 && terms.size() < period;) {
        if (IsUndefined(values[bar]) || std::trunc(keys[bar]) != std::trunc(keys.back())) continue;
        terms.push_back(values[bar] < 0.0 ? fmt::format("({})", values[bar]) : fmt::format("{}", values[bar]));
        oldest = bar;
    }
    return {{.name = "out", .text = fmt::format("{} / {}", Added(terms), terms.size()), .firstBar = oldest}};
}

std::vector<Step> CentreOfGravity(const OperatorCall& call) {
    const std::size_t n = call.Window("period");
    return {{"x", "fill(curve)"}, {"out", fmt::format("-{} / sum(x, {})", Added(Weighted(n, false)), n)}};
}

}  // namespace

std::vector<Recipe> AverageRecipes() {
    return {{"Sim", Simple},
            {"Wei", Linear},
            {"Exp", Exponential, true},
            {"TriAvg", Triangular, true},
            {"ExHull", Hull, true},
            {"Smo", Smoothed, true},
            {"AMAOp", Adaptive},
            {"TimeAvg", OfOneKey},
            {"Trix", OfLogarithm},
            {"CGOscOp", CentreOfGravity}};
}

}  // namespace sarvane::study
