#include "server/class_factory.h"

namespace sarvane {

STDMETHODIMP CComClassFactory::QueryInterface(const GUID& iid, void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (IsNull(iid)) return E_INVALIDARG;
    if (iid != IID_IUnknown && iid != IID_IClassFactory) return E_NOINTERFACE;
    *object = static_cast<IClassFactory*>(this);
    AddRef();
    return S_OK;
}

STDMETHODIMP CComClassFactory::CreateInstance(IUnknown* outer, const GUID& iid, void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (IsNull(iid)) return E_INVALIDARG;
    if (outer && iid != IID_IUnknown) return CLASS_E_NOAGGREGATION;
    return create(outer, iid, object);
}

STDMETHODIMP CComClassFactory::LockServer(BOOL lock) {
    lock ? LockModule() : UnlockModule();
    return S_OK;
}

}  // namespace sarvane
