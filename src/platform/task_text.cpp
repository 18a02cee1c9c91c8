#include "platform/task_text.h"

#include <cstring>

namespace sarvane {

HRESULT TextOut(char16_t** slot, std::u16string_view text) {
    if (!slot) return E_POINTER;
    const std::size_t bytes = text.size() * sizeof(char16_t);
    auto* const copy = static_cast<char16_t*>(CoTaskMemAlloc(bytes + sizeof(char16_t)));
    if (!copy) return E_OUTOFMEMORY;
    std::memcpy(copy, text.data(), bytes);
    copy[text.size()] = u'\0';
    *slot = copy;
    return S_OK;
}

}  // namespace sarvane
