// What the compiler's C++ library takes from a glibc newer than 2.31, for packages that have to run without one.

#include <cstdint>
#include <cstdlib>
#include <sys/random.h>

extern "C" {

// Whether the process has had one thread only. Saying no costs a few locked instructions, and is never wrong.
extern __attribute__((visibility("hidden"))) const char __libc_single_threaded;
const char __libc_single_threaded = 0;

__attribute__((visibility("hidden"))) std::uint32_t arc4random() {
    std::uint32_t number = 0;
    if (getrandom(&number, sizeof number, 0) != static_cast<ssize_t>(sizeof number)) std::abort();
    return number;
}
}
