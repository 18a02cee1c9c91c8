#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {

const DescriptionCase descriptions[] = {
    {"one bound parameter binds both", "9 Close",
     "KasePermStoch( %s, 9, -2147483648) | in 0H 0L 0C 1 2 | out integer1:3 integer2:3 | par | back 400"},
    {"constants", "9 5", "KasePermStoch( %s, 9, 5) | in 0H 0L 0C | out integer1:3 integer2:3 | par 9 5 | back 400"},
};

const RunCase runs[] = {
    {"any four bars span 0 to 100, and the lines start on the fourth bar behind those",
     "2 2",
     {{100, 40, 50}, {60, 40, 50}, {60, 0, 50}, {60, 40, 50}, {100, 40, 50}, {60, 40, 50}, {60, 0, 50}},
     {50, 50}},
    {"a gap repeats the last value of its field: 81 is at 62 % from 50 to 100, and 62 and 50 blend to 56 and 52",
     "1 1",
     {{100, 0, 50}, {100, 0, 50}, {100, 0, 50}, {100, 0, 50}, {100, 0, 50}, {U, 50, 81}},
     {50, 50, (50 + 156.0 / 3) / 2, (50 + 152.0 / 3) / 2}},
    {"a blend takes in what it gave before: 27, 40.5, 47.25, 50.625; the second one 27, 31.5, 36.75, 41.375",
     "1 1",
     {{100, 0, 0}, {100, 0, 54}, {100, 0, 54}, {100, 0, 54}, {100, 0, 54}},
     {(114.75 / 3 + 138.375 / 3) / 2, (95.25 / 3 + 109.625 / 3) / 2}},
    {"a flat range passes the next value through, and the lines stay on",
     "1 1",
     {{5, 5, 5}, {128, 0, 64}, {128, 0, 64}, {128, 0, 64}, {5, 5, 5}, {5, 5, 5}, {128, 0, 128}},
     {50, 50, 50, 50, 175.0 / 3, 175.0 / 3}},
    {"a factor of 0 gives nothing", "0 1", {{128, 0, 64}, {128, 0, 64}}, {}},
    {"a negative lag gives nothing", "1 -1", {{128, 0, 64}, {128, 0, 64}}, {}},
    {"a span that wraps around below 1 has no range", "65536 65536", {{128, 0, 64}}, {}},
};

TEST(KasePermStochOp, Cases) { CheckCases("KasePermStoch", descriptions, runs); }

}  // namespace sarvane::test
