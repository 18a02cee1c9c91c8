#pragma once

#include <cstddef>

namespace sarvane::test {

// Allocations from the free store so far, in the whole program, and how many of them are not freed yet.
std::size_t AllocationCount();
std::size_t LiveAllocations();

// Calls `watcher` ahead of every free, until it is given null.
void WatchFrees(void (*watcher)());

// Lets one allocation fail, as if memory had run out: the `n`-th one, counted from 1, of those that the calls handed to
// `During` make. One thread at a time has one of these.
class FailingAllocation {
public:
    explicit FailingAllocation(std::size_t n);
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    ~FailingAllocation();

    template <class Call>
    auto During(Call call) {
        struct Counting {
            Counting() { Count(true); }
            ~Counting() { Count(false); }
        } counting;
        return call();
    }
    bool HasHappened() const;

private:
    static void Count(bool on);
};

// Counts an allocation; true if it has to fail.
bool IsAllocationToFail();

}  // namespace sarvane::test
