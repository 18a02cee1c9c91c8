// An operator library whose memory has run out.

#include "sarvane/operator.h"
#include "sarvane/registry.h"

namespace sarvane {
extern "C" {

HRESULT DllRegisterServer() { return S_OK; }
HRESULT DllGetClassObject(const GUID&, const GUID&, void**) { return E_OUTOFMEMORY; }
void CoTaskMemFree(void*) {}
HRESULT SarvaneReadRegistryValue(const char16_t*, const char16_t*, char16_t**) { return E_OUTOFMEMORY; }
HRESULT SarvaneReadRegistryKey(const char16_t*, std::uint32_t, char16_t**) { return E_OUTOFMEMORY; }
}
}  // namespace sarvane
