#pragma once

#include "frame/ring_window.h"

#include <memory>
#include <new>

namespace sarvane {

// FIFO of the recent bars of a curve. Its copy costs next to nothing: two rings can share one buffer, where one of them
// goes on writing into the free part and the other still sees the window it had. Elements are copied only when a
// third ring wants to share, or when both owners write.
//
// Rings that share know each other by their address: a ring is never moved by copying its bytes. All rings of one
// buffer belong to one thread. A ring that is full at 2^28 slots throws std::length_error when it is pushed. An operation
// that throws has changed nothing.
template <class Element>
class BasicHistoryRing : public RingWindow<Element> {
public:
    BasicHistoryRing() : BasicHistoryRing(0) {}
    // Room for at least `elements`.
    explicit BasicHistoryRing(long long elements) { Adopt(CapacityFor(elements)); }
    BasicHistoryRing(const BasicHistoryRing& source) : RingWindow<Element>() { *this = source; }
    BasicHistoryRing& operator=(const BasicHistoryRing& source);
    ~BasicHistoryRing() { Leave(); }

    // Starts over as a new ring for `elements`. The contents are lost. Without memory for so many it keeps its buffer, and
    // grows from there.
    void Reconfigure(long long elements) noexcept { StartOver(CapacityFor(elements)); }
    // Appends, and never drops an element: a window pops first. The ring grows when it is full.
    void Push(Element element);
    // A ring that shares leaves its elements to the sharer.
    void Clear() noexcept;

private:
    using Window = RingWindow<Element>;
    using Window::buffer, Window::capacity, Window::head, Window::tail;

    // A buffer and who uses it. One ring alone may stand in either place.
    struct ShareBlock {
        BasicHistoryRing* owners[2] = {};
        BasicHistoryRing* writer = nullptr;  // the owner that may write while both use the buffer
        typename Window::Cells cells;
    };

    // Two slots more than elements: one stays free, and one more lets a window push before it pops.
    static int CapacityFor(long long elements) { return Window::PowerOfTwoFor(elements + 2); }

    BasicHistoryRing* Sharer() const { return share->owners[1 - place]; }

    void StartOver(int slots) noexcept;
    void Adopt(int slots);
    void Leave();
    void Detach();
    void PushFull(Element element, BasicHistoryRing* sharer);
    void Follow(const BasicHistoryRing& writer, int newHead);

    std::shared_ptr<ShareBlock> share;
    int place = 0;  // of this ring among the owners
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
    if (next == head || (sharer && next == sharer->head)) return PushFull(element, sharer);
    buffer[tail] = element;
    tail = next;
}

template <class Element>
BasicHistoryRing<Element>& BasicHistoryRing<Element>::operator=(const BasicHistoryRing& source) {
    if (this == &source) return *this;
    const bool together = share == source.share;
    const bool full = !together && source.Sharer();
    if (full) {
        Adopt(source.capacity);
    } else if (!together) {
        Leave();
        share = source.share;
        place = 1 - source.place;
        share->owners[place] = this;
        share->writer = nullptr;
        this->Use(source.buffer, source.capacity);
    }
    head = source.head;
    tail = source.tail;
    if (full) this->CopyWindow(source.buffer);
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
        Adopt(slots);
        head = tail = 0;
    } catch (const std::bad_alloc&) {
        head = tail;
    }
}

// Takes a new buffer that nobody shares.
template <class Element>
void BasicHistoryRing<Element>::Adopt(int slots) {
    auto block = std::make_shared<ShareBlock>();
    block->cells = Window::MakeCells(slots);
    block->owners[0] = this;
    Leave();
    share = std::move(block);
    place = 0;
    this->Use(share->cells.get(), slots);
}

// Whoever remains writes without asking, so the claim goes too.
template <class Element>
void BasicHistoryRing<Element>::Leave() {
    if (!share) return;
    share->owners[place] = nullptr;
    share->writer = nullptr;
    share.reset();
}

// Leaves the buffer to its writer, with the window copied.
template <class Element>
void BasicHistoryRing<Element>::Detach() {
    const std::shared_ptr<ShareBlock> old = share;
    Adopt(capacity);
    this->CopyWindow(old->cells.get());
}

// The next store would overrun the oldest element of this ring or of its sharer. A sharer's window never reaches
// beyond this ring's newest element, so a move from the older of the two heads takes both windows along.
template <class Element>
void BasicHistoryRing<Element>::PushFull(Element element, BasicHistoryRing* sharer) {
    const int size = this->Size();
    const int from = this->Wrap(tail + 1) == head ? head : sharer->head;
    const int sharerAhead = sharer ? this->Wrap(sharer->head - from) : 0;
    share->cells = this->Enlarge(from);
    head = tail - size;
    if (sharer) sharer->Follow(*this, sharerAhead);
    buffer[tail++] = element;
}

// Goes along with the ring that moved the common buffer.
template <class Element>
void BasicHistoryRing<Element>::Follow(const BasicHistoryRing& writer, int newHead) {
    const int size = this->Size();
    head = newHead;
    tail = newHead + size;
    this->Use(writer.buffer, writer.capacity);
}

extern template class BasicHistoryRing<double>;

}  // namespace sarvane
