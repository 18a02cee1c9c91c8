// The platform of hosts without a component system: task memory is the C heap, the registry a tree in memory.

#include "platform/platform.h"

#include "platform/guarded_call.h"
#include "platform/task_text.h"
#include "sarvane/class_ids.h"
#include "sarvane/registry.h"

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <iterator>
#include <locale.h>
#include <map>
#include <memory>
#include <mutex>

namespace sarvane {
namespace {

struct RegistryKey {
    std::map<std::u16string, std::u16string, std::less<>> values;
    std::map<std::u16string, std::unique_ptr<RegistryKey>, std::less<>> subkeys;
};

RegistryKey& Root() {
    static RegistryKey root;
    return root;
}

// Locked by every function that reads or changes the registry. It is recursive, so that these functions can be called
// within a transaction, which holds it during all of its changes.
std::recursive_mutex& Access() {
    static std::recursive_mutex access;
    return access;
}

// Follows a path from the root: `step` gives the key of a name below a key, or null. Returns the last key, or null.
template <class Step>
RegistryKey* Walk(std::u16string_view path, Step step) {
    RegistryKey* key = &Root();
    while (key && !path.empty()) {
        const std::size_t end = std::min(path.find(u'\\'), path.size());
        key = step(*key, path.substr(0, end));
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return key;
}

RegistryKey* Find(std::u16string_view path) {
    return Walk(path, [](RegistryKey& parent, std::u16string_view name) {
        const auto found = parent.subkeys.find(name);
        return found == parent.subkeys.end() ? nullptr : found->second.get();
    });
}

RegistryKey& FindOrCreate(std::u16string_view path) {
    return *Walk(path, [](RegistryKey& parent, std::u16string_view name) {
        std::unique_ptr<RegistryKey>& key = parent.subkeys[std::u16string(name)];
        if (!key) key = std::make_unique<RegistryKey>();
        return key.get();
    });
}

}  // namespace

RegistryTransaction::RegistryTransaction() { Access().lock(); }
RegistryTransaction::~RegistryTransaction() { Access().unlock(); }

HRESULT CreateRegistryKey(std::u16string_view key) {
    const RegistryTransaction transaction;
    FindOrCreate(key);
    return S_OK;
}

HRESULT WriteRegistryValue(std::u16string_view key, std::u16string_view name, std::u16string_view text) {
    const RegistryTransaction transaction;
    FindOrCreate(key).values[std::u16string(name)] = text;
    return S_OK;
}

HRESULT RemoveRegistryValue(std::u16string_view key, std::u16string_view name) {
    const RegistryTransaction transaction;
    if (RegistryKey* const found = Find(key)) found->values.erase(std::u16string(name));
    return S_OK;
}

HRESULT RemoveRegistryKey(std::u16string_view key) {
    const RegistryTransaction transaction;
    const std::size_t cut = key.rfind(u'\\');
    const bool nested = cut != std::u16string_view::npos;
    RegistryKey* const parent = Find(nested ? key.substr(0, cut) : std::u16string_view());
    if (parent) parent->subkeys.erase(std::u16string(nested ? key.substr(cut + 1) : key));
    return S_OK;
}

// There is no type library to load on this platform: only its name and version are entered.
HRESULT RegisterTypeLibrary() {
    return WriteRegistryValue(u"TypeLib\\" + BracedText(TypeLibraryId) + u"\\1.0", u"", u"sarvane 1.0 Type Library");
}

std::u16string ModulePath() {
    Dl_info module = {};
    if (!dladdr(reinterpret_cast<const void*>(&ModulePath), &module) || !module.dli_fname) return {};
    return std::filesystem::absolute(module.dli_fname).u16string();
}

double ReadDouble(const char* text, char** end) {
    static const locale_t plainLocale = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtod_l(text, end, plainLocale);
}

extern "C" {

void* CoTaskMemAlloc(std::size_t bytes) { return std::malloc(bytes); }

void CoTaskMemFree(void* memory) { std::free(memory); }

HRESULT SarvaneReadRegistryValue(const char16_t* key, const char16_t* name, char16_t** text) {
    if (!text) return E_POINTER;
    *text = nullptr;
    return Guarded([&] {
        const RegistryTransaction transaction;
        if (const RegistryKey* const found = Find(TextOrEmpty(key))) {
            const auto value = found->values.find(TextOrEmpty(name));
            if (value != found->values.end()) return TextOut(text, value->second);
        }
        return E_FILENOTFOUND;
    });
}

HRESULT SarvaneReadRegistryKey(const char16_t* key, std::uint32_t index, char16_t** name) {
    if (!name) return E_POINTER;
    *name = nullptr;
    return Guarded([&] {
        const RegistryTransaction transaction;
        const RegistryKey* const found = Find(TextOrEmpty(key));
        if (!found || index >= found->subkeys.size()) return E_FILENOTFOUND;
        return TextOut(name, std::next(found->subkeys.begin(), index)->first);
    });
}
}

}  // namespace sarvane
