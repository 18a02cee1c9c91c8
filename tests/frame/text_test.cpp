#include "frame/text.h"

#include <clocale>
#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

TEST(Text, KnowsNoLocale) {
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8") && !std::setlocale(LC_ALL, "German"))
        GTEST_SKIP() << "there is no locale with a decimal comma";
    const double number = TextToDouble(u"1.5");
    const std::u16string text(FormatText("%.1f", 1.5));
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(number, 1.5);
    EXPECT_EQ(text, u"1.5");
}

}  // namespace
}  // namespace sarvane::test
