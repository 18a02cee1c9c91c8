// The platform of WebAssembly: task memory is the C heap. Operators are linked in, so there is nothing to register.

#include "platform/platform.h"

#include <cstdint>
#include <cstdlib>
#include <typeinfo>

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

// What a `throw` calls. There are no exceptions, so it ends the module: the host is told of a trap.
void* __cxa_allocate_exception(std::size_t) noexcept { __builtin_trap(); }
[[noreturn]] void __cxa_throw(void*, std::type_info*, void (*)(void*)) { __builtin_trap(); }

// The compiler's own functions are built with canaries.
std::uintptr_t __stack_chk_guard = 0x2F0D'5A36;
[[noreturn]] void __stack_chk_fail() { __builtin_trap(); }

void* CoTaskMemAlloc(std::size_t bytes) { return std::malloc(bytes); }
void CoTaskMemFree(void* memory) { std::free(memory); }
}

}  // namespace sarvane
