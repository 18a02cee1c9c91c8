// The platform of Windows: the system's registry, task memory and type libraries.

#include "platform/platform.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>

namespace sarvane {
namespace {

std::wstring Wide(std::u16string_view text) { return {text.begin(), text.end()}; }

// Removing what does not exist succeeds.
HRESULT RemovalStatus(LSTATUS error) { return error == ERROR_FILE_NOT_FOUND ? S_OK : HRESULT_FROM_WIN32(error); }

class OpenKey {
public:
    OpenKey() = default;
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;
    ~OpenKey() {
        if (handle) RegCloseKey(handle);
    }
    HRESULT Create(std::u16string_view key) {
        return HRESULT_FROM_WIN32(
            RegCreateKeyExW(HKEY_CLASSES_ROOT, Wide(key).c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &handle, nullptr));
    }

    HKEY handle = nullptr;
};

// For a number that is out of the range of doubles: whether it is too large rather than too small. It is too large if
// its first nonzero digit stands before the point, once the exponent has moved the point.
bool IsHuge(std::string_view number, bool hex) {
    const std::size_t mark = std::min(number.find_first_of(hex ? "pP" : "eE"), number.size());
    const std::string_view digits = number.substr(0, mark);
    const auto place = [](std::size_t at) { return static_cast<long long>(at); };
    const long long point = place(std::min(digits.find('.'), digits.size()));
    const long long ahead = point - place(digits.find_first_not_of("0."));

    std::string_view exponentText = number.substr(std::min(mark + 1, number.size()));
    if (exponentText.starts_with('+')) exponentText.remove_prefix(1);
    long long exponent = 0;
    const auto error = std::from_chars(exponentText.data(), exponentText.data() + exponentText.size(), exponent).ec;
    if (error == std::errc::result_out_of_range) return !exponentText.starts_with('-');
    return ahead > -exponent / (hex ? 4 : 1);
}

}  // namespace

HRESULT CreateRegistryKey(std::u16string_view key) { return OpenKey().Create(key); }

HRESULT WriteRegistryValue(std::u16string_view key, std::u16string_view name, std::u16string_view text) {
    OpenKey open;
    const HRESULT status = open.Create(key);
    if (FAILED(status)) return status;
    const std::wstring value = Wide(text);
    const auto bytes = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
    return HRESULT_FROM_WIN32(RegSetValueExW(open.handle, Wide(name).c_str(), 0, REG_SZ,
                                             reinterpret_cast<const BYTE*>(value.c_str()), bytes));
}

HRESULT RemoveRegistryValue(std::u16string_view key, std::u16string_view name) {
    return RemovalStatus(RegDeleteKeyValueW(HKEY_CLASSES_ROOT, Wide(key).c_str(), Wide(name).c_str()));
}

HRESULT RemoveRegistryKey(std::u16string_view key) {
    return RemovalStatus(RegDeleteTreeW(HKEY_CLASSES_ROOT, Wide(key).c_str()));
}

// Each call changes the system's registry at once: there is nothing to group.
RegistryTransaction::RegistryTransaction() = default;
RegistryTransaction::~RegistryTransaction() = default;

// Loading the module's path gives its first type library.
HRESULT RegisterTypeLibrary() {
    std::wstring path = Wide(ModulePath());
    ITypeLib* library = nullptr;
    HRESULT status = LoadTypeLibEx(path.c_str(), REGKIND_NONE, &library);
    if (FAILED(status)) return status;
    status = RegisterTypeLib(library, path.data(), nullptr);
    library->Release();
    return status;
}

std::u16string ModulePath() {
    HMODULE module = nullptr;
    constexpr DWORD Flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (!GetModuleHandleExW(Flags, reinterpret_cast<const wchar_t*>(&ModulePath), &module)) return {};
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) return {path.begin(), path.begin() + static_cast<std::ptrdiff_t>(length)};
        path.resize(path.size() * 2);
    }
}

// Uses `from_chars`, since on this platform `strtod` takes the decimal point from the process's locale, and the C
// library of the system may be wrong in the last place and can't read hexadecimal digits.
double ReadDouble(const char* text, char** end) {
    std::string_view number = text;
    const bool minus = number.starts_with('-');
    if (minus || number.starts_with('+')) number.remove_prefix(1);
    const char* const unsignedText = number.data();
    const bool hex = number.size() > 2 && number[0] == '0' && (number[1] | 0x20) == 'x';
    if (hex) number.remove_prefix(2);

    double size = 0.0;
    const auto format = hex ? std::chars_format::hex : std::chars_format::general;
    auto [stop, error] = std::from_chars(number.data(), number.data() + number.size(), size, format);
    if (error == std::errc::invalid_argument || number.find_first_of(hex ? "-iInN" : "-") == 0) {
        // No number. If "0x" stands at the start with no digit after it, the number is the 0 ahead of the x.
        stop = hex ? unsignedText + 1 : text;
        size = 0.0;
    } else if (error == std::errc::result_out_of_range) {
        size = IsHuge(number.substr(0, static_cast<std::size_t>(stop - number.data())), hex) ? HUGE_VAL : 0.0;
    }
    *end = const_cast<char*>(stop);
    return minus && stop != text ? -size : size;
}

}  // namespace sarvane
