#pragma once

// What the slow stochastics of KasePermStoch and KaseCCSS have in common: two lines over a long range. A line blends
// each value with its own result some bars back, and is smoothed then.

#include "frame/operator_contract.h"
#include "steps/set_step_ma.h"

#include <tuple>

namespace sarvane {

struct KaseBar {
    double high = UndefinedValue;
    double low = UndefinedValue;
    double close = UndefinedValue;
};

inline KaseBar SeedBar(int count, const double* seed) {
    return {NthSeed(0, count, seed), NthSeed(1, count, seed), NthSeed(2, count, seed)};
}

// Highest high and lowest low of the last `factor` * `lag` bars; of this bar alone until both are set.
struct SpanSteps {
    CSetStepMA highest;
    CSetStepMA lowest;

    // A product beyond 32 bits wraps around.
    void Configure(int factor, int lag) {
        if (IsUnset(factor) || IsUnset(lag)) return;
        const int length = static_cast<int>(static_cast<unsigned>(factor) * static_cast<unsigned>(lag));
        highest.Configure(StepHighest, length);
        lowest.Configure(StepLowest, length);
    }
    auto Steps() { return std::tie(highest, lowest); }
};

// The mean of a value and an earlier result, and the mean with the earlier result counted twice. If either is missing,
// the value itself.
inline double HalfBlend(double value, double earlier) {
    return IsUndefined(value) || IsUndefined(earlier) ? value : (value - earlier) * 0.5 + earlier;
}
inline double ThirdBlend(double value, double earlier) {
    return IsUndefined(value) || IsUndefined(earlier) ? value : (earlier + earlier + value) / 3.0;
}

// Smooths the blends to the line that is shown.
struct LineSteps {
    CSetStepMA smooth{StepSim, 3};
    CSetStepMA finish{StepSim, 2};

    double Step(double blend) { return finish.Step(smooth.Step(blend)); }
    auto Steps() { return std::tie(smooth, finish); }
};

}  // namespace sarvane
