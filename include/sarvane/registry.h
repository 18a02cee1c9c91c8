#pragma once

// Reading the native library's registry: a tree of keys in memory that DllRegisterServer fills. A key is named by its
// path below the root of class registrations, with backslashes, as u"CLSID\\{401BF948-...}\\Keyword".

#include "sarvane/component.h"

namespace sarvane {
extern "C" {

// Gives a value's text, which the caller frees with CoTaskMemFree. An empty or null `name` means the key's default
// value. Errors: E_POINTER, E_FILENOTFOUND, E_OUTOFMEMORY; `text` is then null.
SARVANE_EXPORT HRESULT SarvaneReadRegistryValue(const char16_t* key, const char16_t* name, char16_t** text);

// Gives the name of the `index`-th key directly below `key`, counted from 0 in the order of their names, to be freed
// as above. E_FILENOTFOUND ends an enumeration.
SARVANE_EXPORT HRESULT SarvaneReadRegistryKey(const char16_t* key, std::uint32_t index, char16_t** name);
}
}  // namespace sarvane
