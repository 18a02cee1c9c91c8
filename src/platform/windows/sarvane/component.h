#pragma once

// The component platform of Windows under the names of the native header, which it stands in for: its folder comes first
// on the include path.

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
