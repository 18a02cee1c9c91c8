// Lets task memory run out where the free store does: the linker leads the library's calls here.

#include "support/allocation_counter.h"

extern "C" {

void* __real_CoTaskMemAlloc(std::size_t bytes);
void* __wrap_CoTaskMemAlloc(std::size_t bytes);

void* __wrap_CoTaskMemAlloc(std::size_t bytes) {
    return sarvane::test::IsAllocationToFail() ? nullptr : __real_CoTaskMemAlloc(bytes);
}
}
