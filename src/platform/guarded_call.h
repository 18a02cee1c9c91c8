#pragma once

#include "sarvane/component.h"

namespace sarvane {

// Runs code that may throw on behalf of a host, which never sees an exception. Only missing memory and containers beyond
// any length make this library throw, so one status stands for all exceptions.
template <class Call>
HRESULT Guarded(Call call) noexcept {
    try {
        return call();
    } catch (...) {
        return E_OUTOFMEMORY;
    }
}

}  // namespace sarvane
