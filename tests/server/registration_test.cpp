#include "server/registration.h"

#include "platform/platform.h"
#include "support/operator_driver.h"
#include "support/registry.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

const std::string Id = "{401BF948-A946-11D1-B1A9-0000C0D9BDE9}";
const std::string Category = "{E58DB2B8-A6CE-4C0D-84DE-AE9FFD6379AF}";

class Registration : public testing::Test, protected TestRegistry {};

TEST_F(Registration, EntersEveryClass) {
    ASSERT_EQ(DllRegisterServer(), S_OK);
    EXPECT_EQ(Value("SimAvgOp.SimAvgOp.1"), "SimAvgOp Class");
    EXPECT_EQ(Value("SimAvgOp.SimAvgOp.1\\CLSID"), Id);
    EXPECT_EQ(Value("SimAvgOp.SimAvgOp"), "SimAvgOp Class");
    EXPECT_EQ(Value("SimAvgOp.SimAvgOp\\CurVer"), "SimAvgOp.SimAvgOp.1");
    const std::string key = "CLSID\\" + Id;
    EXPECT_EQ(Value(key), "SimAvgOp Class");
    EXPECT_EQ(Value(key + "\\ProgID"), "SimAvgOp.SimAvgOp.1");
    EXPECT_EQ(Value(key + "\\VersionIndependentProgID"), "SimAvgOp.SimAvgOp");
    EXPECT_EQ(Wide(Value(key + "\\InprocServer32")), ModulePath());
    EXPECT_TRUE(std::filesystem::exists(ModulePath()));
    EXPECT_EQ(Value(key + "\\InprocServer32", "ThreadingModel"), "Apartment");
    EXPECT_EQ(Subkeys(key + "\\Implemented Categories"), Category + ";");
    EXPECT_EQ(Value(key + "\\Keyword"), "Sim");
    EXPECT_EQ(Value("Component Categories\\" + Category), "Zelmor Operators");
    const std::string ids = Subkeys("CLSID");
    EXPECT_EQ(std::count(ids.begin(), ids.end(), ';'), static_cast<std::ptrdiff_t>(ClassTable().size()));
}

TEST_F(Registration, LeavesOnlyWhatOthersShare) {
    DllRegisterServer();
    EXPECT_EQ(DllUnregisterServer(), S_OK);
    for (const char* const name : {"SimAvgOp.SimAvgOp", "ExHullAvgOp.ExHullAvgOp.1"}) EXPECT_EQ(Value(name), "none");
    EXPECT_EQ(Subkeys("CLSID"), "");
    EXPECT_EQ(Subkeys("Component Categories"), "");
    EXPECT_EQ(Value("TypeLib\\{401BF93A-A946-11D1-B1A9-0000C0D9BDE9}\\1.0"), "sarvane 1.0 Type Library");
    EXPECT_EQ(DllUnregisterServer(), S_OK) << "twice does no harm";
}

TEST_F(Registration, ForceRemoveClearsWhatStoodThere) {
    constexpr std::u16string_view first = u"HKCR { Key = s 'a' { Below = s 'b' val Name = s 'c' } }";
    constexpr std::u16string_view second = u"HKCR { ForceRemove Key = s '%MODULE%' { val 'Other Name' = s 'e' } }";
    EXPECT_EQ(RunScript(first, u"", Direction::Register), S_OK);
    EXPECT_EQ(Value("Key", "Name"), "c");
    EXPECT_EQ(RunScript(second, u"An owner's path", Direction::Register), S_OK);
    EXPECT_EQ(Value("Key"), "An owner's path");
    EXPECT_EQ(Subkeys("Key"), "");
    EXPECT_EQ(Value("Key", "Name"), "none");
    EXPECT_EQ(Value("Key", "Other Name"), "e");
    EXPECT_EQ(RunScript(u"HKCR { NoRemove Key { val 'Other Name' = s 'e' } }", u"", Direction::Remove), S_OK);
    EXPECT_EQ(Value("Key"), "An owner's path");
    EXPECT_EQ(Value("Key", "Other Name"), "none");
    EXPECT_EQ(RunScript(second, u"", Direction::Remove), S_OK);
    EXPECT_EQ(Value("Key"), "none");
}

TEST_F(Registration, RefusesWhatIsNoScript) {
    for (const std::u16string_view text :
         {u"", u"HKLM { }", u"HKCR { Bad", u"HKCR { Bad = s }", u"HKCR { Bad = 'x' }", u"HKCR { Bad } }", u"HKCR { { }",
          u"HKCR { Bad { val = s 'x' } }", u"HKCR { Bad = s 'x", u"HKCR { Bad '' }", u"HKCR { Bad 'Key\\Below' }"}) {
        EXPECT_EQ(RunScript(text, u"", Direction::Register), E_FAIL);
        EXPECT_EQ(Value("Bad"), "none");
    }
}

// However deep the keys of a script lie, the stack suffices.
TEST_F(Registration, RefusesKeysThatLieTooDeep) {
    for (const int depth : {50, 100'000}) {
        std::u16string script = u"HKCR { Deep ";
        for (int i = 0; i < depth; ++i) script += u"{ a ";
        for (int i = 0; i < depth; ++i) script += u"} ";
        EXPECT_EQ(RunScript(script + u"}", u"", Direction::Register), depth == 50 ? S_OK : E_FAIL);
        if (depth == 50)
            EXPECT_EQ(Subkeys("Deep"), "a;");
        else
            EXPECT_EQ(Value("Deep"), "none");
        RunScript(u"HKCR { Deep }", u"", Direction::Remove);
    }
    // Braces that would only match if the deepest keys were skipped.
    for (int closed = 95; closed < 105; ++closed) {
        std::u16string script = u"HKCR { Deep ";
        for (int i = 0; i < 150; ++i) script += u"{ a ";
        for (int i = 0; i < closed; ++i) script += u"} ";
        EXPECT_EQ(RunScript(script, u"", Direction::Register), E_FAIL) << closed;
    }
}

}  // namespace
}  // namespace sarvane::test
