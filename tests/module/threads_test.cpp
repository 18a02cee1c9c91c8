// A host with several threads. These tests also run under the thread sanitizer.

#include "sarvane/class_ids.h"
#include "sarvane/com_ptr.h"
#include "sarvane/operator.h"
#include "sarvane/registry.h"

#include <atomic>
#include <gtest/gtest.h>
#include <latch>
#include <thread>
#include <vector>

namespace sarvane::test {
namespace {

constexpr GUID Ids[] = {ClassId::SimAvgOp, ClassId::MedianOp, ClassId::StochXOp, ClassId::TDREIOp};

// Runs `work` with the numbers from 0 on, each on a thread of its own.
template <class Work>
void OnThreads(int count, Work work) {
    std::latch start(count);
    std::vector<std::jthread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&, i] {
            start.arrive_and_wait();
            work(i);
        });
    }
}

ComPtr<IClassFactory> FactoryOf(const GUID& id) {
    ComPtr<IClassFactory> factory;
    DllGetClassObject(id, IID_IClassFactory, factory.Slot());
    return factory;
}

TEST(Threads, AFactoryInUseKeepsTheModuleLoaded) {
    std::atomic<int> unlocked = 0;
    IClassFactory* const factory = FactoryOf(ClassId::BarAdd).Get();  // stays, since the module keeps its factories
    OnThreads(4, [&](int) {
        for (int round = 0; round < 500000; ++round) {
            factory->AddRef();
            if (DllCanUnloadNow() != S_FALSE) ++unlocked;
            factory->Release();
        }
    });
    EXPECT_EQ(unlocked, 0);
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

TEST(Threads, EachRunsOperatorsOfItsOwn) {
    std::atomic<int> failures = 0;
    OnThreads(4, [&](int thread) {
        for (int round = 0; round < 50; ++round) {
            const auto factory = FactoryOf(Ids[(thread + round) % 4]);
            ComPtr<IZelmorOp> op;
            failures += factory->CreateInstance(nullptr, IID_IZelmorOp, op.Slot()) != S_OK;
            op->SetParameter(1, u"3", nullptr);
            op->Reset(0, nullptr);
            for (int bar = 0; bar < 50; ++bar) {
                const double in[] = {bar + 2.0, bar + 3.0, bar + 1.0, bar + 2.0};
                double out[3];
                op->SaveState(static_cast<short>(bar % 3));
                failures += op->Calculate(4, in, 3, out) != S_OK;
            }
        }
    });
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

// A reader finds all classes, also while they are entered once more.
TEST(Threads, TheRegistryIsReadBesideARegistration) {
    ASSERT_EQ(DllRegisterServer(), S_OK);
    std::atomic<int> missing = 0;
    OnThreads(3, [&](int thread) {
        for (int round = 0; round < 10; ++round) {
            if (thread == 0) {
                missing += DllRegisterServer() != S_OK;
                continue;
            }
            for (std::uint32_t i = 0; i < std::size(ClassId::All); ++i) {
                char16_t *name = nullptr, *keyword = nullptr;
                missing += SarvaneReadRegistryKey(u"CLSID", i, &name) != S_OK;
                if (!name) continue;
                const std::u16string key = u"CLSID\\" + std::u16string(name) + u"\\Keyword";
                missing += SarvaneReadRegistryValue(key.c_str(), nullptr, &keyword) != S_OK;
                CoTaskMemFree(name);
                CoTaskMemFree(keyword);
            }
        }
    });
    EXPECT_EQ(missing, 0);
}

}  // namespace
}  // namespace sarvane::test
