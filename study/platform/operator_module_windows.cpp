#include "platform/operator_module.h"

#include <filesystem>
#include <system_error>

namespace sarvane::study {
namespace {

namespace fs = std::filesystem;

constexpr const wchar_t* LibraryName = L"SARVANE.DLL";

// The folder of a module, null for the program.
fs::path FolderOf(HMODULE module) {
    std::wstring file(32768, L'\0');
    file.resize(GetModuleFileNameW(module, file.data(), static_cast<DWORD>(file.size())));
    return fs::path(file).parent_path();
}

HMODULE OwnModule() {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&FolderOf), &module);
    return module;
}

// Beside this library or the program; else wherever the system looks.
fs::path Located() {
    std::error_code error;
    for (const fs::path& folder : {FolderOf(OwnModule()), FolderOf(nullptr)}) {
        if (fs::exists(folder / LibraryName, error)) return folder / LibraryName;
    }
    return LibraryName;
}

}  // namespace

Outcome<OperatorModule> OperatorModule::Load(const std::string& file) {
    const fs::path path = file.empty() ? Located() : fs::path(std::u8string(file.begin(), file.end()));
    const HMODULE handle = LoadLibraryW(path.c_str());
    if (!handle) {
        return Problem{.message = "cannot load the operator library: " +
                                  std::system_category().message(static_cast<int>(GetLastError()))};
    }
    OperatorModule module;
    module.getClassObject = reinterpret_cast<decltype(DllGetClassObject)*>(
        reinterpret_cast<void*>(GetProcAddress(handle, "DllGetClassObject")));
    module.allocate = &CoTaskMemAlloc;
    module.freeMemory = &CoTaskMemFree;
    if (!module.getClassObject) return Problem{.message = file + " is no operator library: it exports no classes"};
    return module;
}

}  // namespace sarvane::study
