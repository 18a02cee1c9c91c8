#include "server/class_factory.h"

namespace sarvane {

STDMETHODIMP CComClassFactory::QueryInterface(const GUID& iid, void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (IsNull(iid)) return E_INVALIDARG;
    if (iid == IID_IUnknown || iid == IID_IClassFactory) *object = static_cast<IClassFactory*>(this);
    if (iid == IID_IZelmorClassInfo) *object = static_cast<IZelmorClassInfo*>(this);
    if (!*object) return E_NOINTERFACE;
    static_cast<IUnknown*>(*object)->AddRef();
    return S_OK;
}

STDMETHODIMP CComClassFactory::CreateInstance(IUnknown* outer, const GUID& iid, void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (IsNull(iid)) return E_INVALIDARG;
    if (outer && iid != IID_IUnknown) return CLASS_E_NOAGGREGATION;
    return entry.create(outer, iid, object);
}

STDMETHODIMP CComClassFactory::LockServer(BOOL lock) {
    lock ? LockModule() : UnlockModule();
    return S_OK;
}

}  // namespace sarvane
