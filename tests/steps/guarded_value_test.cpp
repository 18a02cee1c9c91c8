#include "steps/guarded_value.h"

#include <gtest/gtest.h>

namespace sarvane::test {

TEST(GuardedValue, IsUndefinedIfAnOperandIsOrADivisorIsNearZero) {
    const GuardedValue none, six = 6.0;
    for (const GuardedValue undefined : {none + six, six + none, none - six, six - none, none * six, six * none,
                                         none / six, six / none, six / 0.0, six / 1e-100, six / -1e-100})
        EXPECT_TRUE(IsUndefined(undefined));
    EXPECT_EQ(six + 2.0, 8.0);
    EXPECT_EQ(six - 2.0, 4.0);
    EXPECT_EQ(six * 2.0, 12.0);
    EXPECT_EQ(six / 2.0, 3.0);
    EXPECT_EQ(six / 1.1e-100, 6.0 / 1.1e-100);
    EXPECT_EQ(six / -1.1e-100, 6.0 / -1.1e-100);
    EXPECT_LT(none, six);
}

}  // namespace sarvane::test
