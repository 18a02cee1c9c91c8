#pragma once

#include "language/problem.h"
#include "sarvane/component.h"

#include <cstddef>
#include <string>

namespace sarvane::study {

// The operator library, reached through its exported functions. Once loaded it stays until the process ends: operators
// may live longer than whoever loaded it.
class OperatorModule {
public:
    // Without a path in UTF-8, the library that lies beside the study library, beside the program, or in the system's
    // library folders.
    static Outcome<OperatorModule> Load(const std::string& file);

    HRESULT GetClassObject(const GUID& id, const GUID& iid, void** object) const {
        return getClassObject(id, iid, object);
    }
    // Task memory, which texts pass in between operators and hosts. Null when there is none left.
    void* Allocate(std::size_t bytes) const { return allocate(bytes); }
    void Free(void* memory) const { freeMemory(memory); }

private:
    decltype(DllGetClassObject)* getClassObject = nullptr;
    decltype(CoTaskMemAlloc)* allocate = nullptr;
    decltype(CoTaskMemFree)* freeMemory = nullptr;
};

}  // namespace sarvane::study
