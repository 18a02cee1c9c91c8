// The functions that the module exports.

#include "platform/guarded_call.h"
#include "platform/platform.h"
#include "server/class_factory.h"
#include "server/class_table.h"
#include "server/registration.h"

#include <array>
#include <memory>
#include <mutex>

namespace sarvane {
namespace {

using CachedFactory = CComObjectCached<CComClassFactory>;

// The factories made so far. They are kept until the module is unloaded.
class FactoryCache {
public:
    FactoryCache() { initialised = true; }
    ~FactoryCache() { initialised = false; }

    // False while the module's statics are not set up, and after they are gone.
    static inline constinit bool initialised = false;

    CachedFactory& FactoryOf(std::size_t index) {
        const std::lock_guard guard(creation);
        std::unique_ptr<CachedFactory>& factory = factories[index];
        if (!factory) factory = std::make_unique<CachedFactory>(ClassTable()[index]);
        return *factory;
    }

private:
    std::mutex creation;
    std::array<std::unique_ptr<CachedFactory>, ClassCount> factories;  // in the order of the class table
};

FactoryCache cache;

// Runs the scripts of all classes in the order of the class table. Stops at the first that fails.
HRESULT RunAllScripts(Direction direction) {
    const RegistryTransaction transaction;
    const std::u16string modulePath = ModulePath();
    for (const ClassEntry& entry : ClassTable()) {
        const HRESULT status = RunScript(RegistrationScript(entry), modulePath, direction);
        if (FAILED(status)) return status;
    }
    return S_OK;
}

}  // namespace

extern "C" {

HRESULT DllGetClassObject(const GUID& classId, const GUID& iid, void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (!FactoryCache::initialised) return E_UNEXPECTED;
    if (IsNull(classId) || IsNull(iid)) return E_INVALIDARG;
    return Guarded([&] {
        for (std::size_t i = 0; i < ClassCount; ++i) {
            if (ClassTable()[i].id == classId) return cache.FactoryOf(i).QueryInterface(iid, object);
        }
        return CLASS_E_CLASSNOTAVAILABLE;
    });
}

HRESULT DllCanUnloadNow() { return IsModuleLocked() ? S_FALSE : S_OK; }

HRESULT DllRegisterServer() {
    return Guarded([] {
        const HRESULT status = RunAllScripts(Direction::Register);
        return FAILED(status) ? status : RegisterTypeLibrary();
    });
}

// A failure is not reported, and the classes after the failing one stay. So does the type library.
HRESULT DllUnregisterServer() {
    return Guarded([] {
        RunAllScripts(Direction::Remove);
        return S_OK;
    });
}
}

}  // namespace sarvane
