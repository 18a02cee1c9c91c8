#include "support/allocation_counter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> allocations = 0;
std::atomic<std::size_t> frees = 0;

thread_local std::size_t untilFailure = 0;  // allocations that are counted up to the one that fails; 0 for no failure
thread_local bool counts = false;

thread_local void (*watcherOfFrees)() = nullptr;

void Free(void* memory) {
    frees += memory != nullptr;
    if (memory && watcherOfFrees) watcherOfFrees();
    std::free(memory);
}

}  // namespace

void* operator new(std::size_t bytes) {
    if (!sarvane::test::IsAllocationToFail()) {
        if (void* const memory = std::malloc(bytes ? bytes : 1)) {
            ++allocations;
            return memory;
        }
    }
    throw std::bad_alloc();
}
// For room that the standard library can do without.
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    void* const memory = sarvane::test::IsAllocationToFail() ? nullptr : std::malloc(bytes ? bytes : 1);
    allocations += memory != nullptr;
    return memory;
}
void operator delete(void* memory, const std::nothrow_t&) noexcept { Free(memory); }
void operator delete(void* memory) noexcept { Free(memory); }
void operator delete(void* memory, std::size_t) noexcept { Free(memory); }

namespace sarvane::test {

std::size_t AllocationCount() { return allocations; }
std::size_t LiveAllocations() { return allocations - frees; }

void WatchFrees(void (*watcher)()) { watcherOfFrees = watcher; }

FailingAllocation::FailingAllocation(std::size_t n) { untilFailure = n; }
FailingAllocation::~FailingAllocation() { untilFailure = 0; }
bool FailingAllocation::HasHappened() const { return untilFailure == 0; }
void FailingAllocation::Count(bool on) { counts = on; }

bool IsAllocationToFail() { return counts && untilFailure > 0 && --untilFailure == 0; }

}  // namespace sarvane::test
