#pragma once

#include "frame/ring_window.h"

#include <new>
#include <utility>

namespace sarvane {

// FIFO of doubles whose newest element can be changed. Each ring has a buffer of its own, so a change doesn't show in
// copies; a copy therefore copies the elements.
class PlainRing : public RingWindow<double> {
public:
    // A ring with room for `slots` - 1 elements.
    explicit PlainRing(long long slots = 2) : cells(MakeCells(PowerOfTwoFor(slots))) {
        Use(cells.get(), PowerOfTwoFor(slots));
    }
    PlainRing(const PlainRing& source) : RingWindow<double>(), cells(MakeCells(source.capacity)) {
        Use(cells.get(), source.capacity);
        CopyFrom(source);
    }
    // Allocates only if the source has another capacity.
    PlainRing& operator=(const PlainRing& source) {
        if (this == &source) return *this;
        if (capacity != source.capacity) {
            cells = MakeCells(source.capacity);
            Use(cells.get(), source.capacity);
        }
        CopyFrom(source);
        return *this;
    }

    // Starts over with capacity for `slots`. Without memory for so many it keeps its buffer, and grows from there.
    void Reconfigure(long long slots) noexcept {
        head = tail = 0;
        try {
            Cells fresh = MakeCells(PowerOfTwoFor(slots));
            Use(fresh.get(), PowerOfTwoFor(slots));
            cells = std::move(fresh);
        } catch (const std::bad_alloc&) {
        }
    }

    using RingWindow<double>::Newest;
    double& Newest() { return buffer[Wrap(tail - 1)]; }

    // Appends an element. None is dropped: a ring that is full grows.
    void Push(double element) {
        if (Wrap(tail + 1) == head) {
            cells = Enlarge(head);
            head = 0;
        }
        buffer[tail] = element;
        tail = Wrap(tail + 1);
    }
    void Clear() { head = tail = 0; }

private:
    void CopyFrom(const PlainRing& source) {
        head = source.head;
        tail = source.tail;
        CopyWindow(source.buffer);
    }

    Cells cells;
};

}  // namespace sarvane
