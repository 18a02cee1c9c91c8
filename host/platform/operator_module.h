#pragma once

#include "sarvane/component.h"

#include <filesystem>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace sarvane::study {

// A status of the operator library, or std::bad_alloc if it says that memory has run out.
inline HRESULT Checked(HRESULT status) {
    if (status == E_OUTOFMEMORY) throw std::bad_alloc();
    return status;
}

// The operator library, with what it registers of its classes. Once loaded it stays to the end of the program: an exception
// that its code has thrown can outlive this object, and needs that code.
class OperatorModule {
public:
    // Without a path, the one beside the program or in the system's library folders.
    explicit OperatorModule(const std::filesystem::path& file);
    ~OperatorModule();
    OperatorModule(const OperatorModule&) = delete;
    OperatorModule& operator=(const OperatorModule&) = delete;

    HRESULT GetClassObject(const GUID& id, const GUID& iid, void** object) const;
    // What an operator has handed out.
    void FreeMemory(void* memory) const;

    // A key's default value, empty if there is none. Keys are paths below the root of class registrations.
    std::u16string ReadValue(const std::u16string& key) const;
    // The names of the keys directly below a key.
    std::vector<std::u16string> ReadKeys(const std::u16string& key) const;

private:
    struct Parts;

    std::unique_ptr<Parts> parts;
};

}  // namespace sarvane::study
