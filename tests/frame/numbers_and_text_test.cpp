#include "frame/numbers.h"
#include "frame/text.h"

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>

namespace sarvane::test {

TEST(Numbers, Borders) {
    EXPECT_EQ(CompareTolerant(1.0, 1.0000000001), 0);
    EXPECT_EQ(CompareTolerant(-2.0, -1.0), -1);
    EXPECT_EQ(CompareTolerant(0.0, 9e-10), 0);
    EXPECT_EQ(CompareTolerant(1e-9, 0.0), 1);
    EXPECT_EQ(ConvergenceBars(28.0, 6), 194);
    EXPECT_EQ(ConvergenceBars(1e300, 15), 2147483647);
    EXPECT_EQ(TruncateToInt(-2147483647.9), -2147483647);
    EXPECT_EQ(TruncateToInt(2147483647.9), 2147483647);
    for (const double outside : {2147483648.0, -2147483648.9, -2147483649.0, 1e300, -1e300, std::nan("")})
        EXPECT_EQ(TruncateToInt(outside), UndefinedParam) << outside;
}

TEST(Text, KnowsNoLocale) {
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8") && !std::setlocale(LC_ALL, "German")) {
        ASSERT_FALSE(std::getenv("LOCPATH")) << "the locale made for this test is missing";
        GTEST_SKIP() << "there is no locale with a decimal comma";
    }
    ASSERT_STREQ(std::localeconv()->decimal_point, ",");
    const double number = TextToDouble(u"1.5");
    const std::u16string text(FormatText("%.1f", 1.5));
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(number, 1.5);
    EXPECT_EQ(text, u"1.5");
}

}  // namespace sarvane::test
