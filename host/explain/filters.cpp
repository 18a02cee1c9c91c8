#include "explain/recipes.h"

#include <fmt/format.h>

namespace sarvane::study {
namespace {

std::vector<Step> CrossOfAverages(const OperatorCall&) {
    return {{"x", "fill(curve)"},
            {"f", ShareOf("fast")},
            {"s", ShareOf("slow")},
            {"g", ShareOf("signal")},
            Moving("fastAverage", "x", "f"),
            Moving("slowAverage", "x", "s"),
            {"difference", "fastAverage - slowAverage"},
            Moving("signalLine", "difference", "g"),
            {"out", "(signalLine[1] - (1 - f) * fastAverage[1] + (1 - s) * slowAverage[1]) / (f - s)"}};
}

std::vector<Step> Kalman(const OperatorCall&) {
    const std::string p = "(prev(0 / 0) + processNoise)";
    return {{"x", "fill(curve)"},
            {"variance",
             fmt::format("if(defined(prev(0 / 0)), (1 - {0} / ({0} + measurementNoise)) * {0}, if(defined(x), "
                         "initialVariance, 0 / 0))",
                         p),
             "(1 - (before + processNoise) / (before + processNoise + measurementNoise)) * (before + processNoise)",
             "initialVariance"},
            {"gain", "(variance[1] + processNoise) / (variance[1] + processNoise + measurementNoise)"},
            {"curve1", "if(defined(prev(0 / 0)), (x - prev(0 / 0)) * gain + prev(0 / 0), x)",
             "(x - before) * gain + before", "x"}};
}

// With the usual prices; others are told by their numbers only.
std::vector<Step> Movement(const OperatorCall& call) {
    const auto is = [&](const char* argument, double number) { return call.Number(argument) == number; };
    if (!is("highKind", 1) || !is("lowKind", 3) || !is("mode", 1) || !call.Number("smoothLength")) return {};
    const auto lag = [&](const char* argument) { return fmt::format("[{}]", *call.Number(argument)); };
    const auto length = fmt::format("{}", *call.Number("smoothLength"));
    return {{"h", "fill(high)"},
            {"l", "fill(low)"},
            {"up", fmt::format("max(h - h{}, 0)", lag("highLag"))},
            {"down", fmt::format("max(l{} - l, 0)", lag("lowLag"))},
            {"out", fmt::format("sum(up, {0}) / {0} * 100 / (sum(down + up, {0}) / {0})", length)}};
}

}  // namespace

std::vector<Recipe> FilterRecipes() {
    return {{"MACDXOp", CrossOfAverages}, {"KalmanFilter", Kalman}, {"DeMOp", Movement}};
}

}  // namespace sarvane::study
