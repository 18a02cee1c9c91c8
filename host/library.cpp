#include "library.h"

#include "failure.h"
#include "sarvane/class_ids.h"
#include "sarvane/registry.h"

#include <algorithm>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/locale/encoding_utf.hpp>
#include <dlfcn.h>
#include <fmt/ranges.h>
#include <numeric>

namespace sarvane::study {
namespace {

constexpr const char* LibraryName = "libsarvane.so";

constexpr int HistoryIndex = -1, DigitsIndex = -2;

std::string Utf8(std::u16string_view text) {
    return boost::locale::conv::utf_to_utf<char>(text.data(), text.data() + text.size());
}

template <class Function>
Function* Exported(void* module, const char* name) {
    void* const address = dlsym(module, name);
    if (!address) Fail("the library does not export {}", name);
    return reinterpret_cast<Function*>(address);
}

// Beside the program, or in the `lib` beside its `bin`; else wherever the system looks.
std::filesystem::path Located() {
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    for (const auto& file : {folder / LibraryName, folder.parent_path() / "lib" / LibraryName}) {
        if (!error && std::filesystem::exists(file)) return file;
    }
    return LibraryName;
}

// Letters to insert, remove or change until `a` is `b`.
std::size_t EditDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < b.size(); ++j) {
            const bool same = EqualIgnoringCase(a.substr(i, 1), b.substr(j, 1));
            const std::size_t changed = diagonal + (same ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

}  // namespace

struct Library::Functions {
    decltype(DllGetClassObject)* getClassObject;
    decltype(CoTaskMemFree)* freeMemory;
    decltype(SarvaneReadRegistryValue)* readValue;
    decltype(SarvaneReadRegistryKey)* readKey;
};

std::u16string Utf16(std::string_view utf8) {
    return boost::locale::conv::utf_to_utf<char16_t>(utf8.data(), utf8.data() + utf8.size());
}

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
    return boost::algorithm::iequals(a, b, std::locale::classic());
}

Library::Library(std::filesystem::path file) {
    if (file.empty()) file = Located();
    module = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module) Fail("cannot load the operator library: {}", dlerror());
    functions = std::make_unique<Functions>(
        Functions{Exported<decltype(DllGetClassObject)>(module, "DllGetClassObject"),
                  Exported<decltype(CoTaskMemFree)>(module, "CoTaskMemFree"),
                  Exported<decltype(SarvaneReadRegistryValue)>(module, "SarvaneReadRegistryValue"),
                  Exported<decltype(SarvaneReadRegistryKey)>(module, "SarvaneReadRegistryKey")});
    const HRESULT status = Exported<decltype(DllRegisterServer)>(module, "DllRegisterServer")();
    if (FAILED(status)) Fail("the operator library does not register: status {:#010x}", static_cast<ULONG>(status));

    const std::string category = Utf8(BracedText(CategoryId));
    for (const std::string& id : ReadKeys("CLSID")) {
        const std::string key = "CLSID\\" + id;
        const auto guid = ParsedId(std::string_view(id));
        const auto categories = ReadKeys(key + "\\Implemented Categories");
        if (!guid || std::ranges::find(categories, category) == categories.end()) continue;
        const std::string progId = ReadValue(key + "\\VersionIndependentProgID");
        classes.push_back({ReadValue(key + "\\Keyword"), progId.substr(0, progId.find('.')), id, *guid});
    }
    std::ranges::sort(classes, {}, &OperatorClass::keyword);
}

Library::~Library() { dlclose(module); }

std::string Library::ReadValue(const std::string& key) const {
    TextSlot text = nullptr;
    functions->readValue(Utf16(key).c_str(), nullptr, &text);
    return Take(text);
}

std::vector<std::string> Library::ReadKeys(const std::string& key) const {
    const std::u16string wideKey = Utf16(key);
    std::vector<std::string> names;
    TextSlot name = nullptr;
    while (functions->readKey(wideKey.c_str(), static_cast<uint>(names.size()), &name) == S_OK)
        names.push_back(Take(name));
    return names;
}

const OperatorClass* Library::Find(std::string_view keyword) const {
    const auto found =
        std::ranges::find_if(classes, [&](const auto& known) { return EqualIgnoringCase(known.keyword, keyword); });
    return found == classes.end() ? nullptr : &*found;
}

std::vector<std::string> Library::Nearest(std::string_view keyword) const {
    std::vector<std::pair<std::size_t, std::string>> ranked;
    for (const OperatorClass& known : classes) {
        const std::size_t distance = EditDistance(keyword, known.keyword);
        if (distance <= 1 + known.keyword.size() / 3) ranked.emplace_back(distance, known.keyword);
    }
    std::ranges::stable_sort(ranked, {}, [](const auto& entry) { return entry.first; });
    std::vector<std::string> nearest;
    for (const auto& [distance, known] : ranked) {
        if (nearest.size() < 3) nearest.push_back(known);
    }
    return nearest;
}

const OperatorClass& Library::FindOrFail(std::string_view keyword) const {
    if (const OperatorClass* const found = Find(keyword)) return *found;
    const std::vector<std::string> nearest = Nearest(keyword);
    Fail("no operator {}{}{}", Quoted(keyword), nearest.empty() ? "" : "; nearest: ", fmt::join(nearest, ", "));
}

ComPtr<IZelmorOp> Library::Create(const OperatorClass& operatorClass, const OperatorSettings& settings) const {
    ComPtr<IClassFactory> factory;
    ComPtr<IZelmorOp> created;
    HRESULT status = functions->getClassObject(operatorClass.guid, IID_IClassFactory, factory.Slot());
    if (SUCCEEDED(status)) status = factory->CreateInstance(nullptr, IID_IZelmorOp, created.Slot());
    if (FAILED(status)) {
        Fail("{} cannot be created: status {:#010x}", operatorClass.keyword, static_cast<ULONG>(status));
    }
    const auto handOver = [&](int index, int value) {
        const std::string error = SetArgument(*created.Get(), index, fmt::format("{}", value));
        if (!error.empty()) Fail("{}: {}", operatorClass.keyword, error);
    };
    handOver(HistoryIndex, settings.history);
    if (settings.digits) handOver(DigitsIndex, *settings.digits);
    return created;
}

std::string Library::SetArgument(IZelmorOp& op, int index, std::string_view text) const {
    TextSlot error = nullptr;
    const HRESULT status = op.SetParameter(static_cast<short>(index), Utf16(text).c_str(), &error);
    const std::string message = Take(error);
    if (status == S_OK) return {};
    return message.empty() ? fmt::format("refused with status {:#010x}", static_cast<ULONG>(status)) : message;
}

std::string Library::Take(TextSlot text) const {
    if (!text) return {};
    const std::string taken = Utf8(text);
    functions->freeMemory(text);
    return taken;
}

}  // namespace sarvane::study
