#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <memory>
#include <stdexcept>

namespace sarvane {

// The window of a ring: a FIFO in a buffer whose capacity is a power of two. Rings differ in who owns the buffer.
template <class Element>
class RingWindow {
public:
    int Size() const { return Wrap(tail - head); }
    // Slots of the buffer; one of them always stays free.
    int Capacity() const { return capacity; }

    // Element `i`, counted from the oldest.
    const Element& operator[](int i) const { return buffer[Wrap(head + i)]; }
    // The element `bars` places before the newest.
    const Element& Newest(int bars = 0) const { return buffer[Wrap(tail - 1 - bars)]; }

    void PopFront() {
        if (head != tail) head = Wrap(head + 1);
    }

protected:
    using Cells = std::unique_ptr<Element[]>;

    // The smallest power of two that is not below `slots`, from 2 to 2^28.
    static int PowerOfTwoFor(long long slots) {
        constexpr long long Highest = 0x10000000;
        return static_cast<int>(std::bit_ceil(static_cast<std::uint32_t>(std::clamp(slots, 2LL, Highest))));
    }
    // Cells are not touched before they are used, so a large buffer costs address space alone.
    static Cells MakeCells(int slots) {
        return std::make_unique_for_overwrite<Element[]>(static_cast<std::size_t>(slots));
    }

    int Wrap(int slot) const { return static_cast<int>(static_cast<std::uint32_t>(slot) & mask); }

    void Use(Element* cells, int slots) {
        buffer = cells;
        capacity = slots;
        mask = static_cast<std::uint32_t>(slots) - 1;
    }

    // Copies the window from the same slots of another buffer.
    void CopyWindow(const Element* source) {
        if (tail >= head) {
            std::copy(source + head, source + tail, buffer + head);
        } else {
            std::copy(source + head, source + capacity, buffer + head);
            std::copy(source, source + tail, buffer);
        }
    }

    // Copies the cells from `from` to `tail` to the start of a buffer four times as large, which the window then uses;
    // its head is for the caller to set.
    Cells Enlarge(int from) {
        const int larger = PowerOfTwoFor(2LL * capacity + 2);
        if (larger == capacity) throw std::length_error("a ring is full");
        Cells cells = MakeCells(larger);
        Element* last = cells.get();
        if (tail < from) last = std::copy(buffer + from, buffer + capacity, last);
        last = std::copy(buffer + (tail < from ? 0 : from), buffer + tail, last);
        tail = static_cast<int>(last - cells.get());
        Use(cells.get(), larger);
        return cells;
    }

    int head = 0;  // slot of the oldest element
    int tail = 0;  // slot that the next element goes to; never catches up with `head`
    int capacity = 0;
    std::uint32_t mask = 0;  // capacity - 1: wraps a slot without a division
    Element* buffer = nullptr;
};

// Appends to a window. Beyond `limit` elements the oldest one goes.
template <class Ring, class Element>
void PushWithin(Ring& window, const Element& element, int limit) {
    window.Push(element);
    if (window.Size() > limit) window.PopFront();
}

// The same with the oldest one going first, and only from a window of exactly `limit` elements.
template <class Ring, class Element>
void PushReplacing(Ring& window, const Element& element, int limit) {
    if (window.Size() == limit) window.PopFront();
    window.Push(element);
}

}  // namespace sarvane
