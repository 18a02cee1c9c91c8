#pragma once

#include "frame/ring_window.h"

#include <memory>
#include <new>

namespace sarvane {

// FIFO of the recent bars of a curve, made to be copied cheaply: an operator copies its rings with every snapshot,
// often once a bar. A copy shares the buffer of its original. One of the two rings, the writer, goes on pushing into
// the free slots; the other still sees the window that it had. README.md in this folder has a drawing.
//
// Elements are copied only when a third ring is to share the buffer (at most two do), when the ring that is not the
// writer is pushed, and when the buffer has to grow.
//
// Rings that share a buffer hold each other's address, so a ring can't be moved by copying its bytes. All rings of one
// buffer belong to one thread. Pushing a ring whose 2^28 slots are used up throws std::length_error.
// An operation that throws has changed nothing.
template <class Element>
class BasicHistoryRing : public RingWindow<Element> {
public:
    BasicHistoryRing() : BasicHistoryRing(0) {}
    // A ring that takes at least `elements` and one more before it grows.
    explicit BasicHistoryRing(long long elements) { UseNewBuffer(CapacityFor(elements)); }
    BasicHistoryRing(const BasicHistoryRing& source) : RingWindow<Element>() { *this = source; }
    BasicHistoryRing& operator=(const BasicHistoryRing& source);
    ~BasicHistoryRing() { LeaveBuffer(); }

    // Makes this an empty ring for `elements`, with a buffer of its own. Without memory for so many it keeps its buffer, and
    // grows from there.
    void Reconfigure(long long elements) noexcept { StartOver(CapacityFor(elements)); }
    // Appends an element. None is dropped: a ring that is full grows. For a window of fixed length see PushWithin.
    void Push(Element element);
    // Removes all elements. A ring that shares its buffer takes a new one, so that the other ring keeps its window.
    void Clear() noexcept;

private:
    using Window = RingWindow<Element>;
    using Window::buffer, Window::capacity, Window::head, Window::tail;

    // A buffer and the one or two rings that use it. A ring alone may be in either place of `owners`.
    struct ShareBlock {
        BasicHistoryRing* owners[2] = {};
        BasicHistoryRing* writer = nullptr;  // of two owners, the one that may push; null until one of them does
        typename Window::Cells cells;
    };

    // Two slots more than elements: one slot of a ring always stays free, and the other lets a window of this many
    // elements push before it pops.
    static int CapacityFor(long long elements) { return Window::PowerOfTwoFor(elements + 2); }

    // The other ring that uses this buffer, or null.
    BasicHistoryRing* Sharer() const { return share->owners[1 - place]; }

    void StartOver(int slots) noexcept;
    void UseNewBuffer(int slots);
    void LeaveBuffer();
    void Detach();
    void GrowAndPush(Element element, BasicHistoryRing* sharer);
    void MoveWindow(Element* newBuffer, int slots, int newHead);

    std::shared_ptr<ShareBlock> share;
    int place = 0;  // index of this ring in `owners`
};

using HistoryRing = BasicHistoryRing<double>;

template <class Element>
inline void BasicHistoryRing<Element>::Push(Element element) {
    BasicHistoryRing* sharer = Sharer();
    if (sharer && share->writer != this) {
        if (share->writer == sharer) {
            Detach();
            sharer = nullptr;
        } else {
            share->writer = this;
        }
    }
    const int next = this->Wrap(tail + 1);
    if (next == head || (sharer && next == sharer->head)) return GrowAndPush(element, sharer);
    buffer[tail] = element;
    tail = next;
}

template <class Element>
BasicHistoryRing<Element>& BasicHistoryRing<Element>::operator=(const BasicHistoryRing& source) {
    if (this == &source) return *this;
    const bool alreadyShared = share == source.share;
    const bool mustCopy = !alreadyShared && source.Sharer();  // the source's buffer has two owners
    if (mustCopy) {
        UseNewBuffer(source.capacity);
    } else if (!alreadyShared) {
        LeaveBuffer();
        share = source.share;
        place = 1 - source.place;
        share->owners[place] = this;
        share->writer = nullptr;
        this->Use(source.buffer, source.capacity);
    }
    head = source.head;
    tail = source.tail;
    if (mustCopy) this->CopyWindow(source.buffer);
    return *this;
}

template <class Element>
void BasicHistoryRing<Element>::Clear() noexcept {
    if (Sharer()) return StartOver(CapacityFor(this->Size()));
    head = tail = 0;
}

// Empties the ring, in a new buffer if there is memory for it. A sharer's window is left as it is: in the common buffer,
// this ring goes on behind the elements that it drops.
template <class Element>
void BasicHistoryRing<Element>::StartOver(int slots) noexcept {
    try {
        UseNewBuffer(slots);
        head = tail = 0;
    } catch (const std::bad_alloc&) {
        head = tail;
    }
}

// Leaves the present buffer for a new one that this ring has to itself. `head` and `tail` stay.
template <class Element>
void BasicHistoryRing<Element>::UseNewBuffer(int slots) {
    auto block = std::make_shared<ShareBlock>();
    block->cells = Window::MakeCells(slots);
    block->owners[0] = this;
    LeaveBuffer();
    share = std::move(block);
    place = 0;
    this->Use(share->cells.get(), slots);
}

// The buffer is freed with its last owner. An owner that remains is alone and needs no writer.
template <class Element>
void BasicHistoryRing<Element>::LeaveBuffer() {
    if (!share) return;
    share->owners[place] = nullptr;
    share->writer = nullptr;
    share.reset();
}

// Leaves the shared buffer to the other ring and takes a copy of the own window along.
template <class Element>
void BasicHistoryRing<Element>::Detach() {
    const std::shared_ptr<ShareBlock> old = share;
    UseNewBuffer(capacity);
    this->CopyWindow(old->cells.get());
}

// No free slot is left: the slot behind `tail` is a head, of this ring or of its sharer. Moves both rings to a larger
// buffer. Both windows end at or before this ring's tail, so copying from the older of the two heads up to this tail
// copies both:
//
//     old buffer, from the older head on   |- - - the sharer's window - - -|
//                                                  |- - - - - this ring's window - - - - -|
//     new buffer, from slot 0 on           the same elements, then free slots
template <class Element>
void BasicHistoryRing<Element>::GrowAndPush(Element element, BasicHistoryRing* sharer) {
    const int size = this->Size();
    const int olderHead = this->Wrap(tail + 1) == head ? head : sharer->head;
    const int sharersNewHead = sharer ? this->Wrap(sharer->head - olderHead) : 0;
    share->cells = this->Enlarge(olderHead);
    head = tail - size;
    if (sharer) sharer->MoveWindow(buffer, capacity, sharersNewHead);
    buffer[tail++] = element;
}

// Sees the same window in another buffer, in which it starts at `newHead` and doesn't wrap.
template <class Element>
void BasicHistoryRing<Element>::MoveWindow(Element* newBuffer, int slots, int newHead) {
    const int size = this->Size();
    head = newHead;
    tail = newHead + size;
    this->Use(newBuffer, slots);
}

extern template class BasicHistoryRing<double>;

}  // namespace sarvane
