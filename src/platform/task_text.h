#pragma once

#include "sarvane/component.h"

#include <string_view>

namespace sarvane {

inline std::u16string_view TextOrEmpty(const char16_t* text) { return text ? std::u16string_view(text) : u""; }

// Hands a copy of `text` over to the caller, who frees it with CoTaskMemFree. E_POINTER without a slot; E_OUTOFMEMORY
// leaves the slot as it was.
HRESULT TextOut(char16_t** slot, std::u16string_view text);

}  // namespace sarvane
