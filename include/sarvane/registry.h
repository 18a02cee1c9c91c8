#pragma once

// Functions that read the registry of the native library: a tree of keys in memory, which DllRegisterServer fills and
// any number of threads may read. On Windows the system's registry takes its place. A key is named by its path below
// the root of class registrations, with backslashes, as u"CLSID\\{401BF948-...}\\Keyword".

#include "sarvane/component.h"

namespace sarvane {
extern "C" {

// Gives the text of a value, which the caller frees with CoTaskMemFree. An empty or null `name` is the key's default
// value. Errors: E_POINTER for a null slot, E_FILENOTFOUND if there is no such key or value, E_OUTOFMEMORY. After the
// last two the slot is null.
SARVANE_EXPORT HRESULT SarvaneReadRegistryValue(const char16_t* key, const char16_t* name, char16_t** text);

// Gives the name of one of the keys directly below `key`, which the caller frees with CoTaskMemFree. `index` counts
// from 0 in the order of their names. E_FILENOTFOUND if there is no such key, which ends a loop over all of them. Other
// errors as above.
SARVANE_EXPORT HRESULT SarvaneReadRegistryKey(const char16_t* key, std::uint32_t index, char16_t** name);
}
}  // namespace sarvane
