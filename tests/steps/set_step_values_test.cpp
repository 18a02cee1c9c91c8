#include "steps/set_step_values.h"

#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

struct StepCase {
    const char* fact;
    int kind;
    int period;
    std::vector<double> prices;  // each is a bar's open, high, low and close at once
    std::vector<double> values;
};

const StepCase cases[] = {
    {"a merged bar opens with its oldest bar, once it is complete", 0, 3, {1, 2, 3, 4}, {1, 2, 1, 2}},
    {"a true high counts the close before", 2, 1, {5, 3, 2}, {5, 5, 3}},
    {"a true low counts the close before", 4, 1, {3, 5, 6}, {3, 3, 5}},
    {"an extreme that leaves the window is replaced by the next", 16, 2, {5, 4, 4, 3}, {5, 5, 4, 4}},
    {"no period, no value", 20, 0, {5, 6}, {U, U}},
};

TEST(SetStepValues, Runs) {
    for (const auto& [fact, kind, period, prices, values] : cases) {
        CSetStepValues<1> step;
        step.Configure({kind}, {1}, period);
        std::vector<double> actual;
        for (const double price : prices) actual.push_back(step.Step({price, price, price, price})[0]);
        ExpectSameBits(actual, values, fact);
    }
}

// The last two bars merge into open 11, high 16, low 4 and close 12; the close before them is 32.
TEST(SetStepValues, Kinds) {
    std::vector<double> values = {11,    16, 32, 4,  4,  12, 10, 32.0 / 3, 10.75, 12, 28,    4, 0.25, 8,
                                  0.125, U,  16, 4,  14, 8,  16, 14,       4,     8,  11,    6, 10,   12,
                                  11,    10, 6,  12, 11, 10, 6,  12,       18,    16, 14.75, U};
    for (const int direction : {1, 0}) {
        std::vector<double> actual;
        for (int kind = 0; kind < 40; ++kind) {
            CSetStepValues<1> step;
            step.Configure({kind}, {direction}, 2);
            step.Step({30, 34, 28, 32});
            step.Step({11, 16, 4, 6});
            actual.push_back(step.Step({10, 14, 8, 12})[0]);
        }
        ExpectSameBits(actual, values, direction ? "first alternatives" : "second alternatives");
        for (const auto& [one, other] : {std::pair(20u, 22u), {21, 23}, {28, 30}, {29, 31}, {32, 33}, {34, 35}})
            std::swap(values[one], values[other]);
    }
}

TEST(SetStepValues, KeepsItsRangeWhileAnotherKindIsAskedFor) {
    CSetStepValues<1> step;
    double value = 0.0;
    for (const auto& [kind, price] : {std::pair(16, 9.0), {27, 3.0}, {27, 1.0}, {16, 2.0}}) {
        step.Configure({kind}, {1}, 2);
        value = step.Step({price, price, price, price})[0];
    }
    EXPECT_EQ(value, 2.0);
}

}  // namespace
}  // namespace sarvane::test
