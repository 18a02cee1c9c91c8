#include "console.h"

#include "failure.h"

#include <gtest/gtest.h>

namespace sarvane::study {
namespace {

TEST(Console, ShowsControlCharactersEscaped) {
    const std::pair<std::string_view, std::string_view> texts[] = {
        {"Sim(Close, 5)", "Sim(Close, 5)"},
        {"a\\b\"", "a\\b\""},
        {"größe 価格 🙂", "größe 価格 🙂"},
        {"\x1b[2J\x1b]0;title\x07", R"(\x1b[2J\x1b]0;title\x07)"},
        {"a\nb\rc\td\x7F", R"(a\x0ab\x0dc\x09d\x7f)"},
        {std::string_view("\0", 1), R"(\x00)"},
        {"\xC2\x9B\x31m", R"(\u009b1m)"},  // another way to write an escape sequence
        {"\x9B\x31m", R"(\x9b1m)"},
        {"\xC3", R"(\xc3)"},  // half a letter
        {"\xC3\x1b", R"(\xc3\x1b)"},
        {"\xF0\x9F\x99", R"(\xf0\x9f\x99)"},
        {"\u202Eevil", R"(\u202eevil)"},
    };
    for (const auto& [text, shown] : texts) EXPECT_EQ(Shown(text), shown);
    EXPECT_EQ(Quoted("a\x1b\n\u202E"), R"("a\x1b\n\u202e")");
}

}  // namespace
}  // namespace sarvane::study
