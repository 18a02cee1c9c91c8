#pragma once

// The component platform: identifiers, status codes, the two base interfaces, task memory and the functions that the
// module exports. On Windows these are the system's own, under the names used here. Elsewhere they are declared below;
// layouts and calling order are those of the platform, so a host may as well declare them itself.

#ifdef _WIN32

#include <windows.h>

#include <objbase.h>
#include <oleauto.h>
#include <olectl.h>

// Macros without a prefix, which names of ours would run into. NEAR and FAR expand to two of them.
#undef NEAR
#undef FAR
#define NEAR
#define FAR
#undef near
#undef far
#undef interface
#undef TextOut

namespace sarvane {

using ::BOOL;
using ::GUID;
using ::HRESULT;
using ::IClassFactory;
using ::IID_IClassFactory;
using ::IID_IUnknown;
using ::IUnknown;
using ::ULONG;

using ::CoTaskMemAlloc;
using ::CoTaskMemFree;

}  // namespace sarvane

#else

#include <cstddef>
#include <cstdint>

#define STDMETHODCALLTYPE
#define STDMETHODIMP HRESULT STDMETHODCALLTYPE
#define STDMETHODIMP_(type) type STDMETHODCALLTYPE
#define SARVANE_EXPORT __attribute__((visibility("default")))

namespace sarvane {

// Status of a call: 0 and above for success, below 0 for failure.
using HRESULT = std::int32_t;
using ULONG = std::uint32_t;
using BOOL = std::int32_t;

constexpr HRESULT Status(std::uint32_t bits) { return static_cast<HRESULT>(bits); }

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOINTERFACE = Status(0x80004002);
inline constexpr HRESULT E_POINTER = Status(0x80004003);
inline constexpr HRESULT E_FAIL = Status(0x80004005);
inline constexpr HRESULT E_UNEXPECTED = Status(0x8000FFFF);
inline constexpr HRESULT CLASS_E_NOAGGREGATION = Status(0x80040110);
inline constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = Status(0x80040111);
inline constexpr HRESULT E_OUTOFMEMORY = Status(0x8007000E);
inline constexpr HRESULT E_INVALIDARG = Status(0x80070057);
inline constexpr HRESULT E_FILENOTFOUND = Status(0x80070002);  // no such key or value in the registry

constexpr bool SUCCEEDED(HRESULT status) { return status >= 0; }
constexpr bool FAILED(HRESULT status) { return status < 0; }

// Identifier of a class, an interface or a category.
struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];

    friend constexpr bool operator==(const GUID&, const GUID&) = default;
};
static_assert(sizeof(GUID) == 16);

inline constexpr GUID IID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr GUID IID_IClassFactory = {0x00000001, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

// Lifetime and discovery, common to all objects. An object that a call hands out carries one reference for the caller,
// who gives it back with `Release`.
struct IUnknown {
    // Puts the object's `iid` interface into `object`, or null and E_NOINTERFACE if it offers none. Other errors:
    // E_POINTER for a null `object`, E_INVALIDARG for a caller in another language that hands over no `iid`.
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(const GUID& iid, void** object) = 0;
    // Both return the new reference count, for diagnosis only.
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;
};

struct IClassFactory : IUnknown {
    // Makes an object of the factory's class. With an `outer` object it is aggregated, and `iid` must be IID_IUnknown.
    // Errors: E_POINTER, E_INVALIDARG, CLASS_E_NOAGGREGATION, E_OUTOFMEMORY, E_NOINTERFACE.
    virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, const GUID& iid, void** object) = 0;
    // Keeps the module loaded while locked. Locks count.
    virtual HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) = 0;
};

// None of these functions lets an exception out: when memory runs out, they answer E_OUTOFMEMORY.
extern "C" {

// Gives the `iid` interface of the factory of class `classId`. Errors: E_POINTER, E_INVALIDARG for a missing id,
// CLASS_E_CLASSNOTAVAILABLE, E_NOINTERFACE, E_OUTOFMEMORY, E_UNEXPECTED before the module is initialised.
SARVANE_EXPORT HRESULT DllGetClassObject(const GUID& classId, const GUID& iid, void** object);

// S_OK when no object and no lock is left, else S_FALSE.
SARVANE_EXPORT HRESULT DllCanUnloadNow();

// Enter all classes into the registry and take them out again. After a failure some classes may be entered and others
// not; both can be called again.
SARVANE_EXPORT HRESULT DllRegisterServer();
SARVANE_EXPORT HRESULT DllUnregisterServer();

// Memory that passes between library and host: who receives it frees it. Null when there is none left.
SARVANE_EXPORT void* CoTaskMemAlloc(std::size_t bytes);
SARVANE_EXPORT void CoTaskMemFree(void* memory);
}

}  // namespace sarvane

#endif
