#include "support/registry.h"

#include <windows.h>

namespace sarvane::test {
namespace {

constexpr const char* Root = "Software\\sarvane-test";

}  // namespace

TestRegistry::TestRegistry() {
    HKEY root = nullptr;
    RegDeleteTreeA(HKEY_CURRENT_USER, Root);
    RegCreateKeyA(HKEY_CURRENT_USER, Root, &root);
    RegOverridePredefKey(HKEY_CLASSES_ROOT, root);
    RegCloseKey(root);
}

TestRegistry::~TestRegistry() {
    RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
    RegDeleteTreeA(HKEY_CURRENT_USER, Root);
}

std::string TestRegistry::Value(const std::string& key, const std::string& name) const {
    char text[512];
    DWORD bytes = sizeof text;
    const LSTATUS error =
        RegGetValueA(HKEY_CLASSES_ROOT, key.c_str(), name.c_str(), RRF_RT_REG_SZ, nullptr, text, &bytes);
    return error == ERROR_SUCCESS ? text : "none";
}

std::string TestRegistry::Subkeys(const std::string& key) const {
    HKEY handle = nullptr;
    if (RegOpenKeyA(HKEY_CLASSES_ROOT, key.c_str(), &handle) != ERROR_SUCCESS) return "none";
    std::string all;
    char name[256];
    for (DWORD i = 0; RegEnumKeyA(handle, i, name, sizeof name) == ERROR_SUCCESS; ++i) all += std::string(name) + ";";
    RegCloseKey(handle);
    return all;
}

}  // namespace sarvane::test
