#include "platform/operator_module.h"

#include "failure.h"
#include "path.h"
#include "sarvane/operator.h"

#include <map>
#include <system_error>

namespace sarvane::study {
namespace {

constexpr const wchar_t* ModuleName = L"SARVANE.DLL";

std::string Message(DWORD error) { return std::system_category().message(static_cast<int>(error)); }

std::u16string Narrow(const std::wstring& text) { return {text.begin(), text.end()}; }

// Beside the program; else wherever the system looks.
std::filesystem::path Located() {
    std::wstring program(32768, L'\0');
    program.resize(GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size())));
    const auto file = std::filesystem::path(program).parent_path() / ModuleName;
    return std::filesystem::exists(file) ? file : std::filesystem::path(ModuleName);
}

HMODULE Loaded(const std::filesystem::path& file) {
    const HMODULE module = LoadLibraryW(file.c_str());
    if (!module) Fail("cannot load the operator library: {}: {}", TextOf(file), Message(GetLastError()));
    return module;
}

template <class Function>
Function* Exported(HMODULE module, const char* name) {
    const auto address = reinterpret_cast<void*>(GetProcAddress(module, name));
    if (!address) Fail("the library does not export {}", name);
    return reinterpret_cast<Function*>(address);
}

// What the library registers, by the paths of the keys.
struct RegisteredKey {
    std::u16string value;
    std::vector<std::u16string> keys;
};
using Registrations = std::map<std::u16string, RegisteredKey>;

// A root of class registrations for this process alone, which goes with the object. Thus the program needs neither a
// registered library nor the right to register one.
class PrivateRoot {
public:
    PrivateRoot() : name(L"Software\\sarvane-study-" + std::to_wstring(GetCurrentProcessId())) {
        const LSTATUS error = RegCreateKeyExW(HKEY_CURRENT_USER, name.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                              KEY_ALL_ACCESS, nullptr, &root, nullptr);
        if (error != ERROR_SUCCESS) Fail("cannot write to the registry: {}", Message(static_cast<DWORD>(error)));
        RegOverridePredefKey(HKEY_CLASSES_ROOT, root);
    }
    ~PrivateRoot() {
        RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
        RegCloseKey(root);
        RegDeleteTreeW(HKEY_CURRENT_USER, name.c_str());
    }
    PrivateRoot(const PrivateRoot&) = delete;
    PrivateRoot& operator=(const PrivateRoot&) = delete;

    Registrations Read() const {
        Registrations all;
        ReadBelow(root, L"", all);
        return all;
    }

private:
    static void ReadBelow(HKEY handle, const std::wstring& path, Registrations& all) {
        RegisteredKey& key = all[Narrow(path)];
        wchar_t text[1024] = {};
        DWORD bytes = sizeof text;
        if (RegGetValueW(handle, nullptr, nullptr, RRF_RT_REG_SZ, nullptr, text, &bytes) == ERROR_SUCCESS)
            key.value = Narrow(text);
        const auto hasNext = [&] {
            DWORD length = std::size(text);
            const auto index = static_cast<DWORD>(key.keys.size());
            return RegEnumKeyExW(handle, index, text, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
        };
        while (hasNext()) {
            key.keys.push_back(Narrow(text));
            HKEY child = nullptr;
            if (RegOpenKeyExW(handle, text, 0, KEY_READ, &child) != ERROR_SUCCESS) continue;
            ReadBelow(child, path.empty() ? text : path + L'\\' + text, all);
            RegCloseKey(child);
        }
    }

    std::wstring name;
    HKEY root = nullptr;
};

Registrations Registered(HMODULE module) {
    const PrivateRoot root;
    const HRESULT status = Checked(Exported<decltype(DllRegisterServer)>(module, "DllRegisterServer")());
    if (FAILED(status)) Fail("the operator library does not register: status {:#010x}", static_cast<ULONG>(status));
    return root.Read();
}

}  // namespace

struct OperatorModule::Parts {
    explicit Parts(const std::filesystem::path& file) : module(Loaded(file)) {}

    HMODULE module;
    decltype(DllGetClassObject)* getClassObject = Exported<decltype(DllGetClassObject)>(module, "DllGetClassObject");
    Registrations registrations = Registered(module);

    const RegisteredKey& Key(const std::u16string& path) const {
        static const RegisteredKey none;
        const auto found = registrations.find(path);
        return found == registrations.end() ? none : found->second;
    }
};

OperatorModule::OperatorModule(const std::filesystem::path& file)
    : parts(std::make_unique<Parts>(file.empty() ? Located() : file)) {}

OperatorModule::~OperatorModule() = default;

HRESULT OperatorModule::GetClassObject(const GUID& id, const GUID& iid, void** object) const {
    return Checked(parts->getClassObject(id, iid, object));
}

void OperatorModule::FreeMemory(void* memory) const { CoTaskMemFree(memory); }

std::u16string OperatorModule::ReadValue(const std::u16string& key) const { return parts->Key(key).value; }

std::vector<std::u16string> OperatorModule::ReadKeys(const std::u16string& key) const { return parts->Key(key).keys; }

}  // namespace sarvane::study
