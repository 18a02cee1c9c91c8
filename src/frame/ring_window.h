#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <memory>
#include <stdexcept>

namespace sarvane {

// The elements of a ring from one of them on. It is for several looks at a ring that doesn't change meanwhile.
template <class Element>
struct RingView {
    const Element& operator[](int i) const { return buffer[(first + static_cast<std::uint32_t>(i)) & mask]; }

    const Element* buffer;
    std::uint32_t mask, first;
};

// A FIFO in a buffer whose capacity is a power of two: the part of BasicHistoryRing that does not know who else uses the
// buffer.
template <class Element>
class RingWindow {
public:
    int Size() const { return Wrap(tail - head); }
    // Slots of the buffer. One of them always stays free: with `head` equal to `tail` a ring is empty, not full.
    int Capacity() const { return capacity; }

    // Element `i`, counted from the oldest, which is 0.
    const Element& operator[](int i) const { return buffer[Wrap(head + i)]; }
    // The element `bars` places before the newest.
    const Element& Newest(int bars = 0) const { return buffer[Wrap(tail - 1 - bars)]; }

    // The elements from `i` on, counted from the oldest.
    RingView<Element> From(int i) const { return {buffer, mask, static_cast<std::uint32_t>(head + i)}; }

    // Calls `use` with each of the newest `count` elements, from the newest to the oldest; the `skipped` newest ones are
    // left out, and don't count. There must be so many. The elements lie in two blocks of the buffer at most, so no index
    // is wrapped. With `InFours` the loop is unrolled here. That takes fewer instructions for searches and plain sums, and
    // more where the compiler would multiply two elements at once.
    template <bool InFours = false, class Use>
    void NewestFirst(int count, Use use, int skipped = 0) const {
        const int end = Wrap(tail - skipped);
        const int before = std::min(count, end);  // in the block that ends there
        Backwards<InFours>(buffer + end, before, use);
        Backwards<InFours>(buffer + capacity, count - before, use);
    }
    // The same with the oldest `count` elements, from the oldest to the newest. Here the oldest ones can be skipped.
    template <bool InFours = false, class Use>
    void OldestFirst(int count, Use use, int skipped = 0) const {
        const int begin = Wrap(head + skipped);
        const int behind = std::min(count, capacity - begin);  // in the block that starts there
        Forwards<InFours>(buffer + begin, behind, use);
        Forwards<InFours>(buffer, count - behind, use);
    }

    // Removes the oldest element, if there is one.
    void PopFront() {
        if (head != tail) DropOldest();
    }
    // Removes the oldest element of a ring that is not empty.
    void DropOldest() { head = Wrap(head + 1); }

protected:
    using Cells = std::shared_ptr<Element[]>;

    // The smallest power of two that is not below `slots`, from 2 to 2^28.
    static int PowerOfTwoFor(long long slots) {
        constexpr long long Highest = 0x10000000;
        return static_cast<int>(std::bit_ceil(static_cast<std::uint32_t>(std::clamp(slots, 2LL, Highest))));
    }
    // The cells are not initialised: a large buffer takes memory only as far as it is used.
    static Cells MakeCells(int slots) {
        return std::make_shared_for_overwrite<Element[]>(static_cast<std::size_t>(slots));
    }

    int Wrap(int slot) const { return static_cast<int>(static_cast<std::uint32_t>(slot) & mask); }

    void Use(Element* cells, int slots) {
        buffer = cells;
        capacity = slots;
        mask = static_cast<std::uint32_t>(slots) - 1;
    }

    // Copies the elements between `head` and `tail` from the same slots of another buffer of this capacity.
    void CopyWindow(const Element* source) {
        if (tail >= head) {
            std::copy(source + head, source + tail, buffer + head);
        } else {
            std::copy(source + head, source + capacity, buffer + head);
            std::copy(source, source + tail, buffer);
        }
    }

    // Copies the elements from slot `from` up to `tail` to the start of a larger buffer, uses it from then on, and
    // gives it to the caller to own. The caller also sets `head`.
    Cells Enlarge(int from) {
        const int larger = PowerOfTwoFor(2LL * capacity + 2);  // four times the capacity, or the limit
        if (larger == capacity) throw std::length_error("a ring is full");
        Cells cells = MakeCells(larger);
        Element* end = cells.get();
        if (tail < from) {  // the elements wrap
            end = std::copy(buffer + from, buffer + capacity, end);
            from = 0;
        }
        end = std::copy(buffer + from, buffer + tail, end);
        tail = static_cast<int>(end - cells.get());
        Use(cells.get(), larger);
        return cells;
    }

    template <bool InFours, class Use>
    static void Backwards(const Element* end, int count, Use& use) {
        if constexpr (InFours) {
            for (; count >= 4; count -= 4, end -= 4) use(end[-1]), use(end[-2]), use(end[-3]), use(end[-4]);
            for (; count > 0; --count) use(*--end);
        } else {
#pragma GCC unroll 4
            for (const Element* element = end - count; end != element;) use(*--end);
        }
    }
    template <bool InFours, class Use>
    static void Forwards(const Element* begin, int count, Use& use) {
        if constexpr (InFours) {
            for (; count >= 4; count -= 4, begin += 4) use(begin[0]), use(begin[1]), use(begin[2]), use(begin[3]);
            for (; count > 0; --count) use(*begin++);
        } else {
#pragma GCC unroll 4
            for (const Element* const end = begin + count; begin != end;) use(*begin++);
        }
    }

    int head = 0;  // slot of the oldest element
    int tail = 0;  // slot that the next element goes to
    int capacity = 0;
    std::uint32_t mask = 0;  // capacity - 1: wraps a slot without a division
    Element* buffer = nullptr;
};

// Appends to a window, and drops the oldest element if there are then more than `limit`.
template <class Ring, class Element>
void PushWithin(Ring& window, const Element& element, int limit) {
    window.Push(element);
    if (window.Size() > limit) window.DropOldest();
}

// Drops the oldest element of a window of exactly `limit`, and appends. A window that is longer already
// goes on growing, and so does any window with a limit below 1.
template <class Ring, class Element>
void PushReplacing(Ring& window, const Element& element, int limit) {
    if (window.Size() == limit) window.PopFront();
    window.Push(element);
}

}  // namespace sarvane
