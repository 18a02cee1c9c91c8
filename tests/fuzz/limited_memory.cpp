// A text can ask for windows of any length. Pieces of memory above a size are refused at once, so that such a text costs
// no time, and what happens without memory is tried as well.

#include <cstdlib>
#include <new>

namespace {

constexpr std::size_t GreatestPiece = std::size_t{64} << 20;  // bytes; libFuzzer itself needs some 20 million

void* Allocate(std::size_t bytes) { return bytes <= GreatestPiece ? std::malloc(bytes ? bytes : 1) : nullptr; }

}  // namespace

// All forms: what the sanitizer allocates by its own forms can't be freed by these.
void* operator new(std::size_t bytes) {
    void* const memory = Allocate(bytes);
    if (!memory) throw std::bad_alloc();
    return memory;
}
void* operator new[](std::size_t bytes) { return operator new(bytes); }
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept { return Allocate(bytes); }
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept { return Allocate(bytes); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
