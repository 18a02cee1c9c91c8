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
    void Push(Element element) {
        if (!PushIfSimple(element)) PushAtStop(element);
    }
    // Appends an element unless this push may have to do more than store it. False if nothing was done.
    bool PushIfSimple(Element element);
    // Removes all elements. A ring that shares its buffer takes a new one, so that the other ring keeps its window.
    void Clear() noexcept;

private:
    using Window = RingWindow<Element>;
    using Window::buffer, Window::capacity, Window::head, Window::tail;

    // Two slots more than elements: one slot of a ring always stays free, and the other lets a window of this many
    // elements push before it pops.
    static int CapacityFor(long long elements) { return Window::PowerOfTwoFor(elements + 2); }

    [[gnu::cold, gnu::noinline]] BasicHistoryRing& CopyOther(const BasicHistoryRing& source);
    void StartOver(int slots) noexcept;
    void UseNewBuffer(int slots);
    void LeaveBuffer() noexcept;
    void Detach();
    [[gnu::cold, gnu::noinline]] void PushAtStop(Element element);
    void Grow();
    void MoveWindow(const BasicHistoryRing& larger, int newHead);
    // The next push goes through PushAtStop.
    void StopAtOnce() { stop = this->Wrap(tail + 1); }

    typename Window::Cells cells;        // the buffer
    BasicHistoryRing* sharer = nullptr;  // the other ring that uses the buffer
    bool sharerWrites = false;           // the sharer has pushed since the buffer is shared, so this ring may not
    // A push that moves `tail` to this slot looks at what all others need not look at: who writes, and whether a slot is
    // free. It is the slot behind `tail` in a ring that is not the writer or hasn't pushed since it shares; else no head
    // lies between `tail` and this slot.
    int stop = 0;
};

using HistoryRing = BasicHistoryRing<double>;

template <class Element>
inline bool BasicHistoryRing<Element>::PushIfSimple(Element element) {
    const int next = this->Wrap(tail + 1);
    if (next == stop) [[unlikely]] return false;
    buffer[tail] = element;
    tail = next;
    return true;
}

// A snapshot that a host takes on every bar already shares the buffer, and so does the ring that is restored from it.
template <class Element>
inline BasicHistoryRing<Element>& BasicHistoryRing<Element>::operator=(const BasicHistoryRing& source) {
    if (sharer != &source) return CopyOther(source);
    head = source.head;
    tail = source.tail;
    if (sharerWrites) StopAtOnce();
    return *this;
}

// Becomes a copy of a ring that doesn't share its buffer with this one yet.
template <class Element>
BasicHistoryRing<Element>& BasicHistoryRing<Element>::CopyOther(const BasicHistoryRing& source) {
    if (this == &source) return *this;
    const bool mustCopy = source.sharer;  // its buffer has two owners
    if (mustCopy) {
        if (sharer || capacity != source.capacity) UseNewBuffer(source.capacity);
    } else {
        LeaveBuffer();
        cells = source.cells;
        this->Use(source.buffer, source.capacity);
        sharer = const_cast<BasicHistoryRing*>(&source);  // each of the two knows the other
        sharer->sharer = this;
    }
    head = source.head;
    tail = source.tail;
    if (mustCopy) this->CopyWindow(source.buffer);
    StopAtOnce();
    if (sharer) sharer->StopAtOnce();
    return *this;
}

template <class Element>
void BasicHistoryRing<Element>::Clear() noexcept {
    if (sharer) return StartOver(CapacityFor(this->Size()));
    head = tail = 0;
    StopAtOnce();
}

// Empties the ring, in a new buffer if there is memory for it. A sharer's window is left as it is: in the common buffer,
// this ring goes on behind the elements that it drops.
template <class Element>
void BasicHistoryRing<Element>::StartOver(int slots) noexcept {
    try {
        if (sharer || capacity != slots) UseNewBuffer(slots);
        head = tail = 0;
    } catch (const std::bad_alloc&) {
        head = tail;
    }
    StopAtOnce();
}

// Leaves the present buffer for a new one that this ring has to itself. `head` and `tail` stay.
template <class Element>
void BasicHistoryRing<Element>::UseNewBuffer(int slots) {
    typename Window::Cells fresh = Window::MakeCells(slots);
    LeaveBuffer();
    cells = std::move(fresh);
    this->Use(cells.get(), slots);
}

// The buffer is freed with its last owner. An owner that remains is alone and may push.
template <class Element>
void BasicHistoryRing<Element>::LeaveBuffer() noexcept {
    if (!sharer) return;
    sharer->sharer = nullptr;
    sharer->sharerWrites = false;
    sharer = nullptr;
    sharerWrites = false;
}

// Leaves the shared buffer to the other ring and takes a copy of the own window along.
template <class Element>
void BasicHistoryRing<Element>::Detach() {
    const typename Window::Cells old = cells;
    UseNewBuffer(capacity);
    this->CopyWindow(old.get());
}

// The push that has to look at the sharer and for free slots: a ring that is not the writer leaves the buffer, one that
// is becomes its writer, and one that is full grows. From then on all slots are free up to the nearest head.
template <class Element>
void BasicHistoryRing<Element>::PushAtStop(Element element) {
    if (sharer) sharerWrites ? Detach() : void(sharer->sharerWrites = true);
    const int next = this->Wrap(tail + 1);
    if (next == head || (sharer && next == sharer->head)) Grow();
    const int ownRoom = this->Wrap(head - tail - 1);
    const int room = sharer ? std::min(ownRoom, this->Wrap(sharer->head - tail - 1)) : ownRoom;
    stop = this->Wrap(tail + 1 + room);
    buffer[tail] = element;
    tail = this->Wrap(tail + 1);
}

// No free slot is left: the slot behind `tail` is a head, of this ring or of its sharer. Moves both rings to a larger
// buffer. Both windows end at or before this ring's tail, so copying from the older of the two heads up to this tail
// copies both:
//
//     old buffer, from the older head on   |- - - the sharer's window - - -|
//                                                  |- - - - - this ring's window - - - - -|
//     new buffer, from slot 0 on           the same elements, then free slots
template <class Element>
void BasicHistoryRing<Element>::Grow() {
    const int size = this->Size();
    const int olderHead = this->Wrap(tail + 1) == head ? head : sharer->head;
    const int sharersNewHead = sharer ? this->Wrap(sharer->head - olderHead) : 0;
    cells = this->Enlarge(olderHead);
    head = tail - size;
    if (sharer) sharer->MoveWindow(*this, sharersNewHead);
}

// Sees the same window in the larger buffer of its sharer, in which it starts at `newHead` and doesn't wrap.
template <class Element>
void BasicHistoryRing<Element>::MoveWindow(const BasicHistoryRing& larger, int newHead) {
    const int size = this->Size();
    head = newHead;
    tail = newHead + size;
    cells = larger.cells;
    this->Use(larger.buffer, larger.capacity);
    StopAtOnce();
}

extern template class BasicHistoryRing<double>;

}  // namespace sarvane
