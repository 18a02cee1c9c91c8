// The platform of WebAssembly: task memory is the C heap. Operators are linked in, so there is nothing to register.

#include "platform/platform.h"

#include <cstdlib>

namespace sarvane {

HRESULT CreateRegistryKey(std::u16string_view) { return E_UNEXPECTED; }
HRESULT WriteRegistryValue(std::u16string_view, std::u16string_view, std::u16string_view) { return E_UNEXPECTED; }
HRESULT RemoveRegistryValue(std::u16string_view, std::u16string_view) { return E_UNEXPECTED; }
HRESULT RemoveRegistryKey(std::u16string_view) { return E_UNEXPECTED; }
HRESULT RegisterTypeLibrary() { return E_UNEXPECTED; }
RegistryTransaction::RegistryTransaction() {}
RegistryTransaction::~RegistryTransaction() {}
std::u16string ModulePath() { return {}; }

// The only locale there is "C".
double ReadDouble(const char* text, char** end) { return std::strtod(text, end); }

extern "C" {

void* CoTaskMemAlloc(std::size_t bytes) { return std::malloc(bytes); }
void CoTaskMemFree(void* memory) { std::free(memory); }
}

}  // namespace sarvane
