#include "support/operator_driver.h"

#include <cmath>
#include <gtest/gtest.h>

namespace sarvane::test {

// The two methods that follow those of IZelmorOp in the method table.
struct GapMethods : IZelmorOp {
    virtual HRESULT STDMETHODCALLTYPE GetFillsGaps(uint* flag) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetKeepsGaps(uint* flag) = 0;
};

namespace {

const DescriptionCase descriptions[] = {
    {"bound", "", "HiLevel( %s, -2147483648, 0) | in 0 1 2 | out curve1:1 integer1:3 | par -2147483648 | back 400"},
    {"constant", "- 5 x", "HiLevel( %s, 5, 1) | in 0 1 | out curve1:1 integer1:3 | par 5 1 | back 5"},
};

const RunCase highest[] = {
    {"of equal keys the oldest counts", "- 3", {{5, 5}, {6, 7}, {7, 7}, {8, 1}}, {6, 1, 6, 2}},
    {"a gap repeats its own past", "- 2", {{1, U}, {2, 5}, {U, 6}, {4, U}}, {2, 0, 2, 1}},
    {"the seed stands in for a first gap", "- 2", {{U, U}, {7, 4}}, {3, 1}, nullptr, {3, 9}},
    {"a kept gap hides no key", "- 2 1", {{1, U}, {2, -3e9}, {3, U}, {4, U}}, {2, 0, 2, 1, 4, 0}},
    {"a NaN that leads stays", "- 2", {{1, NAN}, {2, 9}, {3, 1}}, {1, 1, 2, 1}},
    {"bound", "", {{1, 5, 1}, {2, 4, 2.9}, {3, 3, 0}, {4, 2, 3}, {5, 1, 4}}, {1, 0, 1, 1, U, U, 2, 2, U, U}, "3"},
};

const RunCase lowest[] = {{"the lowest", "- 3", {{5, 5}, {6, 7}, {7, 7}, {8, 1}}, {5, 2, 8, 0}}};

TEST(HiLoLevOp, Cases) {
    CheckCases("HiLev", descriptions, highest);
    CheckCases("LoLev", {}, lowest);
}

TEST(HiLoLevOp, TellsHowItTreatsGaps) {
    OperatorDriver op("LoLev");
    auto* const methods = static_cast<GapMethods*>(op.operator->());
    uint fills = 7, keeps = 7;
    EXPECT_EQ(methods->GetFillsGaps(&fills) + methods->GetKeepsGaps(&keeps), S_OK);
    EXPECT_TRUE(fills == 1 && keeps == 0);
}

}  // namespace
}  // namespace sarvane::test
