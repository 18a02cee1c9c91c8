// Any text as a registration script. What a script has entered it removes again, unless it says otherwise.

#include "server/registration.h"
#include "check.h"
#include "platform/platform.h"
#include "sarvane/registry.h"

#include <optional>

namespace sarvane::fuzz {
namespace {

// The first key of the registry, if there is one.
std::optional<std::u16string> FirstKey() {
    char16_t* name = nullptr;
    if (SarvaneReadRegistryKey(u"", 0, &name) != S_OK) return std::nullopt;
    const std::u16string taken = name;
    CoTaskMemFree(name);
    return taken;
}

}  // namespace
}  // namespace sarvane::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace sarvane;
    const std::u16string script(data, data + size);
    const HRESULT status = RunScript(script, u"/home/owner's module", Direction::Register);
    fuzz::Check(RunScript(script, u"/home/owner's module", Direction::Remove) == status, "both ways end alike");
    const bool keepsKeys = script.find(u"NoRemove") != std::u16string::npos;
    fuzz::Check(keepsKeys || !fuzz::FirstKey(), "nothing is left behind");
    while (const auto key = fuzz::FirstKey()) RemoveRegistryKey(*key);
    return 0;
}
