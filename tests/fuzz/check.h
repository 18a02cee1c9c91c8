#pragma once

#include <cstdio>
#include <cstdlib>

namespace sarvane::fuzz {

// Ends the program unless what must hold for every input holds.
inline void Check(bool holds, const char* fact) {
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", fact);
    std::abort();
}

}  // namespace sarvane::fuzz
