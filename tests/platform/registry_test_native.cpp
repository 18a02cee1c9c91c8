#include "sarvane/operator.h"
#include "sarvane/registry.h"
#include "server/class_table.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

TEST(NativeRegistry, ReadsWithClearStatuses) {
    TextSlot text = reinterpret_cast<TextSlot>(1);
    EXPECT_EQ(SarvaneReadRegistryValue(u"No such\\key", nullptr, &text), E_FILENOTFOUND);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(SarvaneReadRegistryValue(u"CLSID", u"", nullptr), E_POINTER);
    text = reinterpret_cast<TextSlot>(1);
    EXPECT_EQ(SarvaneReadRegistryKey(u"CLSID", static_cast<uint>(ClassTable().size()), &text), E_FILENOTFOUND);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(SarvaneReadRegistryKey(nullptr, 0, nullptr), E_POINTER);
}

}  // namespace
}  // namespace sarvane::test
