#pragma once

#include "sarvane/class_info.h"
#include "server/class_table.h"

#include <atomic>

namespace sarvane {

// Makes the objects of one class, and hands out its description through IZelmorClassInfo.
class CComClassFactory : public IClassFactory, public IZelmorClassInfo {
public:
    explicit CComClassFactory(const ClassEntry& classEntry) : entry(classEntry) {}
    STDMETHODIMP QueryInterface(const GUID& iid, void** object) override;
    STDMETHODIMP CreateInstance(IUnknown* outer, const GUID& iid, void** object) override;
    STDMETHODIMP LockServer(BOOL lock) override;

    STDMETHODIMP GetKeyword(TextSlot* keyword) override;
    STDMETHODIMP GetName(TextSlot* name) override;
    STDMETHODIMP GetSentence(TextSlot* sentence) override;
    STDMETHODIMP GetArgumentCount(ushort* count) override;
    STDMETHODIMP GetArgumentName(short argument, TextSlot* name) override;
    STDMETHODIMP GetArgumentKind(short argument, ushort* kind) override;
    STDMETHODIMP GetArgumentMeaning(short argument, TextSlot* meaning) override;
    STDMETHODIMP GetArgumentDefault(short argument, TextSlot* text) override;
    STDMETHODIMP GetArgumentRange(short argument, double* least, double* greatest) override;
    STDMETHODIMP GetArgumentUse(short argument, ushort* use) override;
    STDMETHODIMP GetWordCount(short argument, ushort* count) override;
    STDMETHODIMP GetWord(short argument, short word, TextSlot* text, TextSlot* meaning) override;
    STDMETHODIMP GetOutputCount(ushort* count) override;
    STDMETHODIMP GetOutputName(short output, TextSlot* name) override;
    STDMETHODIMP GetOutputMeaning(short output, TextSlot* meaning) override;
    STDMETHODIMP GetOutputDrawing(short output, ushort* drawing) override;

protected:
    ~CComClassFactory() = default;

private:
    const ClassEntry& entry;
};

// A factory that is made once and kept in the module's cache. Several threads may use it at once, so its count is
// atomic. Each reference of a host locks the module, so that DllCanUnloadNow refuses. The reference of the cache does
// not. The order of the statements matters: the lock is taken before the count rises and given back after it has
// fallen.
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
