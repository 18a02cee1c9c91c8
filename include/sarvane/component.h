#pragma once

// The component platform: identifiers, status codes, the two base interfaces, task memory and the functions that the
// module exports. On Windows these are the system's own, under the names used here. Elsewhere they are declared below,
// with the layouts and the order of methods that they have on Windows, so that a host may also declare them itself.

#ifdef _WIN32

#include <windows.h>

#include <objbase.h>
#include <oleauto.h>
#include <olectl.h>

// These macros of the system's headers would replace names of our own. Other headers use NEAR and FAR, which expand to
// `near` and `far`: they are defined again, as nothing.
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

// What all objects have: a reference count, and a way to ask for their interfaces. An object that a call hands out
// carries one reference for the caller, who gives it back with `Release`. The last one destroys an operator; the module
// keeps its factories.
struct IUnknown {
    // Puts the interface `iid` of the object into `object`, with one reference more. Errors: E_NOINTERFACE if the
    // object has no such interface; `object` is then null. E_POINTER for a null `object`. E_INVALIDARG if a caller in
    // another language passes null for `iid`.
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(const GUID& iid, void** object) = 0;
    // Both return the new reference count, for diagnosis only.
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;
};

struct IClassFactory : IUnknown {
    // Makes an object of the factory's class and puts its interface `iid` into `object`. `outer` is null, or a host's
    // object that the new one is to be a part of; `iid` must then be IID_IUnknown. Errors: CLASS_E_NOAGGREGATION if
    // `iid` is another one then, or if the class can't be part of another object; E_OUTOFMEMORY; and those of
    // QueryInterface.
    virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, const GUID& iid, void** object) = 0;
    // Locks the module, which DllCanUnloadNow then refuses to unload, or takes one lock back. Each lock needs its own
    // unlock.
    virtual HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) = 0;
};

// None of these functions lets an exception out. They answer E_OUTOFMEMORY if memory runs out.
extern "C" {

// Gives the interface `iid` of the factory for class `classId`: IClassFactory, or IZelmorClassInfo (class_info.h).
// Errors: E_POINTER for a null `object`, E_INVALIDARG for a null id, CLASS_E_CLASSNOTAVAILABLE for an id that is no
// class of this module, E_NOINTERFACE, E_OUTOFMEMORY, and E_UNEXPECTED before the module's static objects are set up or
// after they are destroyed.
SARVANE_EXPORT HRESULT DllGetClassObject(const GUID& classId, const GUID& iid, void** object);

// S_OK if the host holds no operator, no factory and no lock, else S_FALSE.
SARVANE_EXPORT HRESULT DllCanUnloadNow();

// Enter all classes into the registry (registry.h), and remove them again. After a failure some classes may be entered
// and others not; both can be called again.
SARVANE_EXPORT HRESULT DllRegisterServer();
SARVANE_EXPORT HRESULT DllUnregisterServer();

// Allocate and free the memory of texts that pass from the library to the host. Who receives a text frees it.
// CoTaskMemAlloc gives null if there is no memory left.
SARVANE_EXPORT void* CoTaskMemAlloc(std::size_t bytes);
SARVANE_EXPORT void CoTaskMemFree(void* memory);
}

}  // namespace sarvane

#endif
