#pragma once

// What the library needs from its platform beyond the public headers. Each platform has one source that implements it.

#include "sarvane/component.h"

#include <string>
#include <string_view>

namespace sarvane {

// The registry. Keys are named by their path below the root of class registrations, with backslashes.
HRESULT CreateRegistryKey(std::u16string_view key);
// Sets a named value, or with an empty name the key's default value.
HRESULT WriteRegistryValue(std::u16string_view key, std::u16string_view name, std::u16string_view text);
// Both succeed, too, if there is nothing to remove. A key is removed with everything below it.
HRESULT RemoveRegistryValue(std::u16string_view key, std::u16string_view name);
HRESULT RemoveRegistryKey(std::u16string_view key);

// Groups the registry's changes during its lifetime: other threads see none of them or all. Only the native registry
// can do that; on Windows it has no effect.
class RegistryTransaction {
public:
    RegistryTransaction();
    RegistryTransaction(const RegistryTransaction&) = delete;
    RegistryTransaction& operator=(const RegistryTransaction&) = delete;
    ~RegistryTransaction();
};

// Enters the module's type library into the registry.
HRESULT RegisterTypeLibrary();

// Where the module was loaded from.
std::u16string ModulePath();

// The C library's `strtod`, as in the "C" locale, whatever locale the process has set.
double ReadDouble(const char* text, char** end);

}  // namespace sarvane
