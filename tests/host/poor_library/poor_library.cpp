// An operator library whose memory has run out.

#include "sarvane/operator.h"

namespace sarvane {
extern "C" {

HRESULT DllGetClassObject(const GUID&, const GUID&, void**) { return E_OUTOFMEMORY; }
void* CoTaskMemAlloc(std::size_t) { return nullptr; }
void CoTaskMemFree(void*) {}
}
}  // namespace sarvane
