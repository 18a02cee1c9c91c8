#pragma once

#include "sarvane/component.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace sarvane::study {

// The loaded operator library, with what it registers of its classes.
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
