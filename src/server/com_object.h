#pragma once

// The object forms of an operator class: each is the operator together with an implementation of IUnknown. CComObject
// stands alone; CComAggObject is made for a host's outer object, and contains a CComContainedObject.

#include "platform/guarded_call.h"
#include "sarvane/operator.h"
#include "server/guarded_operator.h"
#include "server/module.h"
#include "server/null_id.h"

#include <memory>
#include <type_traits>

namespace sarvane {

// An operator's interfaces: IZelmorOp, which also answers for IUnknown, and IZelmorOp2 if its class has that.
template <class Operator>
HRESULT QueryOperator(Operator& op, const GUID& iid, void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (IsNull(iid)) return E_INVALIDARG;
    if (iid == IID_IUnknown || iid == IID_IZelmorOp) *object = static_cast<IZelmorOp*>(&op);
    if constexpr (std::is_base_of_v<IZelmorOp2, Operator>) {
        if (iid == IID_IZelmorOp2) *object = static_cast<IZelmorOp2*>(&op);
    }
    if (!*object) return E_NOINTERFACE;
    op.AddRef();
    return S_OK;
}

// A plain integer is enough, since one thread at a time calls an object.
class ReferenceCount {
public:
    ULONG Add() { return ++count; }
    // Destroys `object` with the last reference.
    template <class Object>
    ULONG Release(Object* object) {
        const ULONG left = --count;
        if (left == 0) delete object;
        return left;
    }

private:
    ULONG count = 0;
};

// Keeps the module loaded while an object lives. It is the first base of every object, so that its destructor runs
// last: the operator's own destructor is code of this module, which a host may unload as soon as no lock is left.
class ModuleLock {
public:
    ModuleLock() { LockModule(); }
    ModuleLock(const ModuleLock&) = delete;
    ModuleLock& operator=(const ModuleLock&) = delete;
    ~ModuleLock() { UnlockModule(); }
};

// The stand-alone object.
template <class Operator>
class CComObject final : private ModuleLock, public GuardedOperator<Operator> {
public:
    STDMETHODIMP QueryInterface(const GUID& iid, void** object) override { return QueryOperator(*this, iid, object); }
    STDMETHODIMP_(ULONG) AddRef() override { return references.Add(); }
    STDMETHODIMP_(ULONG) Release() override { return references.Release(this); }

private:
    ReferenceCount references;
};

// The operator inside an aggregated object. Its IUnknown methods are those of the outer object, so that a reference of
// one of its interfaces keeps the outer object alive.
template <class Operator>
class CComContainedObject final : public GuardedOperator<Operator> {
public:
    explicit CComContainedObject(IUnknown* outerObject) : outer(outerObject) {}
    STDMETHODIMP QueryInterface(const GUID& iid, void** object) override { return outer->QueryInterface(iid, object); }
    STDMETHODIMP_(ULONG) AddRef() override { return outer->AddRef(); }
    STDMETHODIMP_(ULONG) Release() override { return outer->Release(); }

private:
    IUnknown* outer;  // not counted: it outlives what it aggregates
};

// The aggregated form. It is the IUnknown that the outer object holds; all other interfaces are those of `contained`.
template <class Operator>
class CComAggObject final : private ModuleLock, public IUnknown {
public:
    explicit CComAggObject(IUnknown* outer) : contained(outer) {}
    STDMETHODIMP QueryInterface(const GUID& iid, void** object) override {
        if (IsNull(iid) || iid != IID_IUnknown) return QueryOperator(contained, iid, object);
        if (!object) return E_POINTER;
        *object = static_cast<IUnknown*>(this);
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return references.Add(); }
    STDMETHODIMP_(ULONG) Release() override { return references.Release(this); }

private:
    ReferenceCount references;
    CComContainedObject<Operator> contained;
};

// Makes an object of a form and hands out its interface `iid`. If it has no such interface it is deleted again.
template <class Form, class... Outer>
HRESULT CreateForm(const GUID& iid, void** object, Outer... outer) {
    return Guarded([&] {
        auto form = std::make_unique<Form>(outer...);
        const HRESULT status = form->QueryInterface(iid, object);
        if (SUCCEEDED(status)) form.release();
        return status;
    });
}

// Makes an operator with default parameters. `outer` is null, or the outer object of an aggregate.
using CreateFunction = HRESULT (*)(IUnknown* outer, const GUID& iid, void** object);

// For a class that can't be aggregated.
template <class Operator>
HRESULT CreateAlone(IUnknown* outer, const GUID& iid, void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    return CreateForm<CComObject<Operator>>(iid, object);
}

template <class Operator>
HRESULT Create(IUnknown* outer, const GUID& iid, void** object) {
    return outer ? CreateForm<CComAggObject<Operator>>(iid, object, outer)
                 : CreateForm<CComObject<Operator>>(iid, object);
}

}  // namespace sarvane
