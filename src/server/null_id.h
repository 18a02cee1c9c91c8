#pragma once

#include "sarvane/component.h"

namespace sarvane {

// Whether a caller in another language has passed a null pointer for an identifier. C++ compilers assume that a
// reference is never null and remove a plain comparison. Reading the address back from a volatile variable prevents
// that.
inline bool IsNull(const GUID& id) {
    const GUID* const volatile address = &id;
    return !address;
}

}  // namespace sarvane
