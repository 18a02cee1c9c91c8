#pragma once

#include "sarvane/component.h"

namespace sarvane {

// Whether a caller in another language handed over no identifier. In C++ a reference never refers to nothing, and
// compilers rely on that: only an address that was stored and read back can be compared with null.
inline bool IsNull(const GUID& id) {
    const GUID* const volatile address = &id;
    return !address;
}

}  // namespace sarvane
