#include "support/registry.h"

#include "sarvane/registry.h"
#include "support/operator_driver.h"

namespace sarvane::test {

TestRegistry::TestRegistry() = default;
TestRegistry::~TestRegistry() { DllRegisterServer(); }

std::string TestRegistry::Value(const std::string& key, const std::string& name) const {
    TextSlot text = nullptr;
    const HRESULT status = SarvaneReadRegistryValue(Wide(key).c_str(), Wide(name).c_str(), &text);
    return status == S_OK ? Taken(text) : "none";
}

std::string TestRegistry::Subkeys(const std::string& key) const {
    std::string all;
    TextSlot name = nullptr;
    for (uint i = 0; SarvaneReadRegistryKey(Wide(key).c_str(), i, &name) == S_OK; ++i) all += Taken(name) + ";";
    return all;
}

}  // namespace sarvane::test
