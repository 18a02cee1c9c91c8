#pragma once

#include "sarvane/component.h"

namespace sarvane {

// Runs code that may throw, for a host that must never see an exception. This library throws only if memory runs out or
// a container would exceed its greatest size, so E_OUTOFMEMORY stands for every exception.
template <class Call>
HRESULT Guarded(Call call) noexcept {
    try {
        return call();
    } catch (...) {
        return E_OUTOFMEMORY;
    }
}

}  // namespace sarvane
