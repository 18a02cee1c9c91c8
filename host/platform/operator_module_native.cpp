#include "platform/operator_module.h"

#include "failure.h"
#include "sarvane/operator.h"
#include "sarvane/registry.h"

#include <dlfcn.h>

namespace sarvane::study {
namespace {

constexpr const char* LibraryName = "libsarvane.so";

// Beside the program, or in the `lib` beside its `bin`; else wherever the system looks.
std::filesystem::path Located() {
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    for (const auto& file : {folder / LibraryName, folder.parent_path() / "lib" / LibraryName}) {
        if (!error && std::filesystem::exists(file)) return file;
    }
    return LibraryName;
}

void* Loaded(const std::filesystem::path& file) {
    void* const module = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module) Fail("cannot load the operator library: {}", dlerror());
    return module;
}

template <class Function>
void Find(void* module, const char* name, Function*& function) {
    void* const address = dlsym(module, name);
    if (!address) Fail("the library does not export {}", name);
    function = reinterpret_cast<Function*>(address);
}

}  // namespace

struct OperatorModule::Parts {
    explicit Parts(const std::filesystem::path& file) {
        void* const module = Loaded(file);
        Find(module, "DllGetClassObject", getClassObject);
        Find(module, "DllRegisterServer", registerServer);
        Find(module, "CoTaskMemFree", freeMemory);
        Find(module, "SarvaneReadRegistryValue", readValue);
        Find(module, "SarvaneReadRegistryKey", readKey);
    }

    std::u16string Take(TextSlot text) const {
        const std::u16string taken = text ? text : u"";
        freeMemory(text);
        return taken;
    }

    decltype(DllGetClassObject)* getClassObject;
    decltype(DllRegisterServer)* registerServer;
    decltype(CoTaskMemFree)* freeMemory;
    decltype(SarvaneReadRegistryValue)* readValue;
    decltype(SarvaneReadRegistryKey)* readKey;
};

OperatorModule::OperatorModule(const std::filesystem::path& file)
    : parts(std::make_unique<Parts>(file.empty() ? Located() : file)) {
    const HRESULT status = Checked(parts->registerServer());
    if (FAILED(status)) Fail("the operator library does not register: status {:#010x}", static_cast<ULONG>(status));
}

OperatorModule::~OperatorModule() = default;

HRESULT OperatorModule::GetClassObject(const GUID& id, const GUID& iid, void** object) const {
    return Checked(parts->getClassObject(id, iid, object));
}

void OperatorModule::FreeMemory(void* memory) const { parts->freeMemory(memory); }

std::u16string OperatorModule::ReadValue(const std::u16string& key) const {
    TextSlot text = nullptr;
    Checked(parts->readValue(key.c_str(), nullptr, &text));
    return parts->Take(text);
}

std::vector<std::u16string> OperatorModule::ReadKeys(const std::u16string& key) const {
    std::vector<std::u16string> names;
    TextSlot name = nullptr;
    while (Checked(parts->readKey(key.c_str(), static_cast<std::uint32_t>(names.size()), &name)) == S_OK)
        names.push_back(parts->Take(name));
    return names;
}

}  // namespace sarvane::study
