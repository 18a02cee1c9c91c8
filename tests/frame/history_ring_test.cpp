#include "frame/history_ring.h"

#include <deque>
#include <gtest/gtest.h>
#include <random>

namespace sarvane {
namespace {

TEST(HistoryRing, CapacitiesFollowTheElementsWanted) {
    const std::pair<long long, int> capacities[] = {
        {0, 2}, {1, 4}, {2, 4}, {3, 8}, {6, 8}, {7, 16}, {400, 512}, {-2147483648LL, 2}, {1LL << 31, 0x10000000}};
    for (const auto& [elements, capacity] : capacities) EXPECT_EQ(HistoryRing(elements).Capacity(), capacity);
}

// A ring beside a model of it: the elements that it must hold, and the ring that it must share its buffer with. The
// model has no slots: positions count all elements that were ever pushed, and do not wrap.
struct Checked {
    struct Buffer {
        int capacity;
        const Checked *owner, *joined, *writer;
    };

    Checked() { Own(2); }
    Checked(const Checked& source) : ring(source.ring) { Follow(source); }
    ~Checked() { Leave(); }

    std::ptrdiff_t Start() const { return end - std::ssize(contents); }
    const Checked* Sharer() const { return buffer->owner == this ? buffer->joined : buffer->owner; }
    void Leave() {
        if (buffer) *buffer = {buffer->capacity, Sharer(), nullptr, nullptr};
    }
    void Own(int capacity) {
        Leave();
        buffer = std::make_shared<Buffer>(Buffer{capacity, this, nullptr, nullptr});
    }
    void Follow(const Checked& source) {
        if (buffer != source.buffer && source.Sharer()) {
            Own(source.buffer->capacity);
        } else if (buffer != source.buffer) {
            Leave();
            buffer = source.buffer;
            *buffer = {buffer->capacity, &source, this, nullptr};
        }
        end = source.end;
        contents = source.contents;
    }
    void Push(const double& element) {
        contents.push_back(element);
        ring.Push(element);
        if (Sharer() && buffer->writer == Sharer()) Own(buffer->capacity);
        if (Sharer()) buffer->writer = this;
        ++end;
        if (end - std::min(Start(), Sharer() ? Sharer()->Start() : end) == buffer->capacity) buffer->capacity *= 4;
    }
    void PopFront() {
        ring.PopFront();
        if (!contents.empty()) contents.pop_front();
    }
    void Empty(int capacity) {
        Own(capacity);
        contents.clear();
    }

    HistoryRing ring;
    std::shared_ptr<Buffer> buffer;
    std::deque<double> contents;
    std::ptrdiff_t end = 0;  // position behind the newest element
};

TEST(HistoryRing, SharesItsBufferLikeTheModel) {
    std::mt19937 random(1);
    std::unique_ptr<Checked> rings[3];
    for (auto& ring : rings) ring = std::make_unique<Checked>();
    for (int step = 0; step < 100000; ++step) {
        auto &ring = rings[random() % 3], &source = rings[random() % 3];
        const auto action = random() % 50;
        if (action < 2 && ring->ring.Size() > 0) {
            ring->Push(ring->ring[0]);
        } else if (action < 21) {
            ring->Push(step);
        } else if (action < 36) {
            ring->PopFront();
        } else if (action < 45) {
            ring->ring = source->ring;
            ring->Follow(*source);
        } else if (action < 47) {
            ring->ring.Clear();
            ring->Empty(ring->Sharer() ? HistoryRing(std::ssize(ring->contents)).Capacity() : ring->buffer->capacity);
        } else if (action < 49) {
            ring->ring.Reconfigure(step % 9);
            ring->Empty(HistoryRing(step % 9).Capacity());
        } else {
            ring = step % 2 ? std::make_unique<Checked>(*source) : std::make_unique<Checked>();
        }
        for (const auto& a : rings) {
            std::deque<double> held;
            for (int i = 0; i < a->ring.Size(); ++i) held.push_front(a->ring.Newest(i));
            ASSERT_EQ(held, a->contents) << step;
            ASSERT_EQ(a->ring.Capacity(), a->buffer->capacity) << step;
            for (const auto& b : rings)
                ASSERT_EQ(&a->ring[0] == &b->ring[0], a->buffer == b->buffer && a->Start() == b->Start()) << step;
        }
    }
}

}  // namespace
}  // namespace sarvane
