// A host that loads the library while it runs and unloads it again.

#include "sarvane/class_ids.h"
#include "sarvane/operator.h"

#include <cstdlib>
#include <dlfcn.h>
#include <fstream>
#include <gtest/gtest.h>

namespace {

int hostAllocations = 0;

}  // namespace

// The host has a function of the same name, which the library's own calls must not reach.
extern "C" SARVANE_EXPORT void* CoTaskMemAlloc(std::size_t bytes) {
    ++hostAllocations;
    return std::malloc(bytes);
}

namespace sarvane::test {
namespace {

constexpr GUID Ids[] = {ClassId::SimAvgOp, ClassId::MedianOp, ClassId::BarAdd, ClassId::KaseCCSSOp};

template <class Function>
Function* Find(void* module, const char* name) {
    return reinterpret_cast<Function*>(dlsym(module, name));
}

// Loads, lets an operator work, and unloads.
void Visit(const GUID& id) {
    void* const module = dlopen(LIBRARY_FILE, RTLD_NOW);
    ASSERT_NE(module, nullptr) << dlerror();
    const auto getClassObject = Find<decltype(DllGetClassObject)>(module, "DllGetClassObject");
    const auto canUnloadNow = Find<decltype(DllCanUnloadNow)>(module, "DllCanUnloadNow");
    const auto freeMemory = Find<void(void*)>(module, "CoTaskMemFree");
    IClassFactory* factory = nullptr;
    IZelmorOp* op = nullptr;
    ASSERT_EQ(getClassObject(id, IID_IClassFactory, reinterpret_cast<void**>(&factory)), S_OK);
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IZelmorOp, reinterpret_cast<void**>(&op)), S_OK);
    factory->Release();
    TextSlot formula = nullptr;
    EXPECT_EQ(op->GetFormula(&formula, nullptr), S_OK);
    freeMemory(formula);
    op->Reset(0, nullptr);
    const double in[] = {3.0, 2.0, 1.0, 2.0, 1.0};
    double out[16];
    for (short bar = 1; bar < 20; ++bar) {
        op->Calculate(4, in, 16, out);
        op->SaveState(bar);
    }
    EXPECT_EQ(canUnloadNow(), S_FALSE);
    op->Release();
    EXPECT_EQ(canUnloadNow(), S_OK);
    dlclose(module);
    EXPECT_EQ(dlopen(LIBRARY_FILE, RTLD_NOW | RTLD_NOLOAD), nullptr) << "the library stays loaded";
}

long ResidentPages() {
    std::ifstream status("/proc/self/statm");
    long pages = 0, resident = 0;
    status >> pages >> resident;
    return resident;
}

TEST(Loads, AThousandLeaveNothingBehind) {
    for (int round = 0; round < 100; ++round) Visit(Ids[round % 4]);
    const long before = ResidentPages();
    for (int round = 0; round < 900 && !HasFailure(); ++round) Visit(Ids[round % 4]);
    EXPECT_LT(ResidentPages() - before, 250) << "a megabyte in pages of 4096 bytes";
    EXPECT_EQ(hostAllocations, 0);
}

}  // namespace
}  // namespace sarvane::test
