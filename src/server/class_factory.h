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

// A factory that the class table keeps. The reference of its cache doesn't keep the module loaded, those of hosts do.
// Hosts on several threads share it.
template <class Factory>
class CComObjectCached final : public Factory {
public:
    using Factory::Factory;
    STDMETHODIMP_(ULONG) AddRef() override {
        const ULONG count = ++references;
        if (count == 2) LockModule();
        return count;
    }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG count = --references;
        if (count == 1) UnlockModule();
        return count;
    }

private:
    std::atomic<ULONG> references = 1;  // the cache's
};

}  // namespace sarvane
