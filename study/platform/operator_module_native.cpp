#include "platform/operator_module.h"

#include <dlfcn.h>
#include <filesystem>
#include <system_error>

namespace sarvane::study {
namespace {

namespace fs = std::filesystem;

constexpr const char* LibraryName = "libsarvane.so";
constexpr const char* VersionedName = "libsarvane.so.1";

// The folder of the module that holds this code, and that of the program.
fs::path OwnFolder() {
    Dl_info info = {};
    if (dladdr(reinterpret_cast<const void*>(&OwnFolder), &info) == 0 || !info.dli_fname) return {};
    std::error_code error;
    const fs::path file = fs::canonical(info.dli_fname, error);
    return error ? fs::path() : file.parent_path();
}
fs::path ProgramFolder() {
    std::error_code error;
    return fs::read_symlink("/proc/self/exe", error).parent_path();
}

// Beside this code or the program, or in the `lib` beside its `bin`; else wherever the system looks.
std::string Located() {
    std::error_code error;
    for (const fs::path& own : {OwnFolder(), ProgramFolder()}) {
        if (own.empty()) continue;  // such as the program's where /proc is missing
        for (const fs::path& folder : {own, own.parent_path() / "lib"}) {
            for (const char* name : {LibraryName, VersionedName}) {
                if (fs::exists(folder / name, error)) return (folder / name).string();
            }
        }
    }
    return VersionedName;
}

}  // namespace

Outcome<OperatorModule> OperatorModule::Load(const std::string& file) {
    void* const handle = dlopen((file.empty() ? Located() : file).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) return Problem{.message = std::string("cannot load the operator library: ") + dlerror()};
    OperatorModule module;
    module.getClassObject = reinterpret_cast<decltype(DllGetClassObject)*>(dlsym(handle, "DllGetClassObject"));
    module.allocate = reinterpret_cast<decltype(CoTaskMemAlloc)*>(dlsym(handle, "CoTaskMemAlloc"));
    module.freeMemory = reinterpret_cast<decltype(CoTaskMemFree)*>(dlsym(handle, "CoTaskMemFree"));
    if (!module.getClassObject || !module.allocate || !module.freeMemory) {
        return Problem{.message = file + " is no operator library: it exports neither classes nor task memory"};
    }
    return module;
}

}  // namespace sarvane::study
