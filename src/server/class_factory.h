#pragma once

#include "server/com_object.h"

#include <atomic>

namespace sarvane {

// Makes the objects of one class.
class CComClassFactory : public IClassFactory {
public:
    explicit CComClassFactory(CreateFunction createFunction) : create(createFunction) {}
    STDMETHODIMP QueryInterface(const GUID& iid, void** object) override;
    STDMETHODIMP CreateInstance(IUnknown* outer, const GUID& iid, void** object) override;
    STDMETHODIMP LockServer(BOOL lock) override;

protected:
    ~CComClassFactory() = default;

private:
    CreateFunction create;
};

// A factory that is made once and kept. Hosts on several threads share it. Each reference of a host keeps the module
// loaded, from before it counts until after it is gone; the reference of the cache doesn't.
template <class Factory>
class CComObjectCached final : public Factory {
public:
    using Factory::Factory;
    STDMETHODIMP_(ULONG) AddRef() override {
        LockModule();
        return ++references;
    }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --references;
        UnlockModule();
        return left;
    }

private:
    std::atomic<ULONG> references = 1;  // the cache's
};

}  // namespace sarvane
