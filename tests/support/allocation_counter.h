#pragma once

#include <cstddef>

namespace sarvane::test {

// Allocations from the free store so far, in the whole program.
std::size_t AllocationCount();

}  // namespace sarvane::test
