#include "frame/chart_label.h"

#include "sarvane/values.h"

#include <gtest/gtest.h>

namespace sarvane {
namespace {

// `bits` is the packed label as one number, so its last byte is written first.
void CheckLabel(const ChartLabel& label, std::uint64_t bits, const std::optional<std::string>& text) {
    const double packed = EncodeLabel(label);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(packed), bits);
    EXPECT_EQ(LabelText(packed), text);
}

TEST(ChartLabel, Packs) {
    CheckLabel({.text = "12"}, 0x323101, "12");
    CheckLabel({.text = ""}, 0x01, "");
    CheckLabel({.curve = 5, .placement = 2, .text = "\xE9_345678"}, 0x003635'3433'5FE9'26, "\xE9_3456");
    CheckLabel({.number = 258, .text = "unused"}, 0x010209, "258");
    CheckLabel({.curve = 1, .placement = 3, .number = -2}, 0xFF'FFFF'FE3A, "-2");
    CheckLabel({.placement = 1, .number = -12, .prefix = 'T'}, 0x32'312D'5451, "T-12");
    CheckLabel({.number = 1234567, .prefix = 'T'}, 0x003534'3332'3154'41, "T12345");
    CheckLabel({.prefix = 'T'}, 0, std::nullopt);
}

TEST(ChartLabel, OtherDoublesAreNone) {
    for (const double value : {UndefinedValue, 1.0, 1e-300, 0x010000000009p-1074}) EXPECT_FALSE(LabelText(value));
}

}  // namespace
}  // namespace sarvane
