#include "sarvane/class_ids.h"
#include "server/class_table.h"
#include "support/allocation_counter.h"
#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

ComPtr<IClassFactory> FactoryOf(const GUID& id) {
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(DllGetClassObject(id, IID_IClassFactory, factory.Slot()), S_OK);
    return factory;
}

// An object that aggregates another and counts what reaches it.
struct Outer final : IUnknown {
    STDMETHODIMP QueryInterface(const GUID&, void** object) override {
        ++queries;
        *object = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override { return --references; }

    ULONG references = 1;
    int queries = 0;
};

void* const Garbage = reinterpret_cast<void*>(0x1234);

TEST(Factory, IsOneForAClass) {
    ComPtr<IUnknown> first, second;
    EXPECT_EQ(DllGetClassObject(ClassId::SimAvgOp, IID_IUnknown, first.Slot()), S_OK);
    EXPECT_EQ(DllGetClassObject(ClassId::SimAvgOp, IID_IClassFactory, second.Slot()), S_OK);
    EXPECT_EQ(first.Get(), second.Get());
}

TEST(Factory, FailuresLeaveANullPointer) {
    void* object = Garbage;
    EXPECT_EQ(DllGetClassObject(CategoryId, IID_IUnknown, &object), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
    object = Garbage;
    EXPECT_EQ(DllGetClassObject(ClassId::SimAvgOp, IID_IZelmorOp, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(DllGetClassObject(ClassId::SimAvgOp, IID_IUnknown, nullptr), E_POINTER);

    const ComPtr<IClassFactory> factory = FactoryOf(ClassId::SimAvgOp);
    Outer outer;
    object = Garbage;
    EXPECT_EQ(factory->CreateInstance(&outer, IID_IZelmorOp, &object), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(object, nullptr);
    object = Garbage;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IZelmorOp2, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IZelmorOp, nullptr), E_POINTER);
}

TEST(Factory, KeepsTheModuleLoadedWhileInUse) {
    ASSERT_EQ(DllCanUnloadNow(), S_OK);
    {
        const ComPtr<IClassFactory> factory = FactoryOf(ClassId::BarAdd);
        EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
        factory->LockServer(true);
    }
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    FactoryOf(ClassId::BarAdd)->LockServer(false);
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    void* object = nullptr;
    FactoryOf(ClassId::SimAvgOp)->CreateInstance(nullptr, IID_IZelmorOp2, &object);
    EXPECT_EQ(DllCanUnloadNow(), S_OK) << "an object that is not wanted goes again";
}

TEST(Object, LivesUntilItsLastReference) {
    {
        OperatorDriver op("BarAdd");
        EXPECT_EQ(op->AddRef(), 3u) << "one reference for each of the two interfaces so far";
        EXPECT_EQ(op->Release(), 2u);
        ComPtr<IUnknown> identity, second;
        op->QueryInterface(IID_IUnknown, identity.Slot());
        op.Bars()->QueryInterface(IID_IUnknown, second.Slot());
        EXPECT_EQ(identity.Get(), second.Get());
        EXPECT_EQ(static_cast<void*>(identity.Get()), static_cast<void*>(op.operator->()));
        void* object = Garbage;
        EXPECT_EQ(op->QueryInterface(IID_IClassFactory, &object), E_NOINTERFACE);
        EXPECT_EQ(object, nullptr);
        EXPECT_EQ(op->QueryInterface(IID_IZelmorOp, nullptr), E_POINTER);
        EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    }
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

// A host unloads the module as soon as nothing holds it, so an object has to free all of its parts before. Its own memory
// comes last.
TEST(Object, KeepsTheModuleLoadedUntilItsPartsAreFreed) {
    static int freesWithoutLock = 0;
    const ComPtr<IClassFactory> factory = FactoryOf(ClassId::StochXOp);
    for (const bool aggregated : {false, true}) {
        Outer outer;
        void* object = nullptr;
        ASSERT_EQ(factory->CreateInstance(aggregated ? &outer : nullptr, IID_IUnknown, &object), S_OK);
        freesWithoutLock = 0;
        factory->Release();
        WatchFrees([] { freesWithoutLock += DllCanUnloadNow() == S_OK; });
        static_cast<IUnknown*>(object)->Release();
        WatchFrees(nullptr);
        factory->AddRef();
        EXPECT_EQ(freesWithoutLock, 1) << aggregated;
    }
}

TEST(Object, HasTheSecondInterfaceWhereItTakesBars) {
    for (const ClassEntry& entry : ClassTable())
        EXPECT_EQ(OperatorDriver(entry.keyword).TakesBars(), entry.takesBars) << entry.keyword;
}

TEST(Aggregate, CountsReferencesAtTheOuterObject) {
    for (const std::string& keyword : AllKeywords()) {
        SCOPED_TRACE(keyword);
        Outer outer;
        void* object = Garbage;
        const HRESULT status = FactoryOf(ClassIdOf(keyword))->CreateInstance(&outer, IID_IUnknown, &object);
        if (keyword == "Trix") {  // the one class that cannot be aggregated
            EXPECT_EQ(status, CLASS_E_NOAGGREGATION);
            EXPECT_EQ(object, nullptr);
            continue;
        }
        ASSERT_EQ(status, S_OK);
        auto* const inner = static_cast<IUnknown*>(object);
        EXPECT_EQ(inner->QueryInterface(IID_IUnknown, &object), S_OK);
        EXPECT_EQ(object, inner);
        EXPECT_EQ(inner->Release(), 1u);

        ASSERT_EQ(inner->QueryInterface(IID_IZelmorOp, &object), S_OK);
        auto* const op = static_cast<IZelmorOp*>(object);
        EXPECT_EQ(outer.references, 2u);
        EXPECT_EQ(op->QueryInterface(IID_IZelmorOp, &object), E_NOINTERFACE) << "the outer object answers";
        EXPECT_EQ(outer.queries, 1);
        op->Release();
        EXPECT_EQ(outer.references, 1u);
        EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
        EXPECT_EQ(inner->Release(), 0u);
        EXPECT_EQ(DllCanUnloadNow(), S_OK);
    }
}

}  // namespace
}  // namespace sarvane::test
