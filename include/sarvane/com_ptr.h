#pragma once

#include "sarvane/component.h"

#include <utility>

namespace sarvane {

// Owns one reference of an object and releases it at the end of its life. It can be moved, but not copied.
template <class Interface>
class ComPtr {
public:
    ComPtr() = default;
    ComPtr(ComPtr&& other) noexcept : object(std::exchange(other.object, nullptr)) {}
    ComPtr& operator=(ComPtr&& other) noexcept {
        std::swap(object, other.object);
        return *this;
    }
    ~ComPtr() { Reset(); }

    Interface* operator->() const { return object; }
    Interface* Get() const { return object; }
    explicit operator bool() const { return object != nullptr; }

    void Reset() {
        if (object) std::exchange(object, nullptr)->Release();
    }
    // The out slot for a call that hands out an object. Releases the object that is held first.
    void** Slot() {
        Reset();
        return reinterpret_cast<void**>(&object);
    }

private:
    Interface* object = nullptr;
};

}  // namespace sarvane
