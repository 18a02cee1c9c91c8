#pragma once

#include "sarvane/component.h"

#include <string_view>

namespace sarvane {

inline std::u16string_view TextOrEmpty(const char16_t* text) { return text ? std::u16string_view(text) : u""; }

// Puts a copy of `text` into a host's slot; the host frees it with CoTaskMemFree. E_POINTER for a null slot. A failure
// leaves the slot as it was.
HRESULT TextOut(char16_t** slot, std::u16string_view text);

}  // namespace sarvane
