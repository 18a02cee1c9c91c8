#pragma once

// What the library takes from its platform beyond the public headers. Each platform has one source for it.

#include "sarvane/component.h"

#include <string>
#include <string_view>

namespace sarvane {

// The place where registration is kept. Keys are named by their path below the root of class registrations.
HRESULT CreateRegistryKey(std::u16string_view key);
// Sets a named value, or with an empty name the key's default value.
HRESULT WriteRegistryValue(std::u16string_view key, std::u16string_view name, std::u16string_view text);
// Both succeed also where there is nothing to remove. A key goes with all below it.
HRESULT RemoveRegistryValue(std::u16string_view key, std::u16string_view name);
HRESULT RemoveRegistryKey(std::u16string_view key);

// While it lives, other threads find the registry as it was before or as it will be after, where the platform can do
// that.
class RegistryTransaction {
public:
    RegistryTransaction();
    RegistryTransaction(const RegistryTransaction&) = delete;
    RegistryTransaction& operator=(const RegistryTransaction&) = delete;
    ~RegistryTransaction();
};

// Enters the module's type library.
HRESULT RegisterTypeLibrary();

// Where the module was loaded from.
std::u16string ModulePath();

// The C library's `strtod`, as in the "C" locale, whatever locale the process has set.
double ReadDouble(const char* text, char** end);

}  // namespace sarvane
