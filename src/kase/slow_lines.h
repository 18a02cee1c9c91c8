#pragma once

// What the slow stochastics of the Kase studies have in common: two lines over a long range, each of which blends its
// value with its own result some bars back before it is smoothed.

#include "frame/operator_contract.h"
#include "oscillators/set_step_ma.h"

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

// The range that the prices of the last bars span: of this bar alone until a length is set.
struct SpanSteps {
    CSetStepMA highest;
    CSetStepMA lowest;

    // The length is a 32-bit product, which wraps around.
    void Configure(int factor, int lag) {
        if (IsUnset(factor) || IsUnset(lag)) return;
        const int length = static_cast<int>(static_cast<unsigned>(factor) * static_cast<unsigned>(lag));
        highest.Configure(StepHighest, length);
        lowest.Configure(StepLowest, length);
    }
    auto Steps() { return std::tie(highest, lowest); }
};

// Blends half and half, respectively one part of the new value with two of the earlier result. A value that has
// nothing to blend with passes through.
inline double HalfBlend(double value, double earlier) {
    return IsUndefined(value) || IsUndefined(earlier) ? value : (value - earlier) * 0.5 + earlier;
}
inline double ThirdBlend(double value, double earlier) {
    return IsUndefined(value) || IsUndefined(earlier) ? value : (earlier + earlier + value) / 3.0;
}

// Smooths a blend to the line that is shown.
struct LineSteps {
    CSetStepMA smooth{StepSim, 3};
    CSetStepMA finish{StepSim, 2};

    double Step(double blend) { return finish.Step(smooth.Step(blend)); }
    auto Steps() { return std::tie(smooth, finish); }
};

}  // namespace sarvane
