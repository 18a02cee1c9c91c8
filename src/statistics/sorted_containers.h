#pragma once

// A family of containers that keep their items in one array; the last one, SortedBagAsVector, keeps them in order. The
// virtual methods are a binary interface: none may be added, removed or moved.

#include <cstddef>
#include <memory>

namespace sarvane {

class T_Container {
public:
    T_Container() = default;
    T_Container(const T_Container&) = delete;
    T_Container& operator=(const T_Container&) = delete;
    virtual ~T_Container() = default;

    virtual bool IsEmpty() const = 0;
    virtual int GetCount() const = 0;
    // Removes all items and frees the memory that was added since construction.
    virtual void Flush() = 0;
    // In bytes: the array, plus a fixed number for the container itself.
    virtual std::size_t GetMemoryUsed() const = 0;
    virtual int GetMaxItems() const = 0;
};

// The array. It starts with room for `size` items, 1 at least. A full one grows by `delta` items or by half its size,
// whichever is more, and at least by 1. With a `delta` of 0 it doesn't grow.
template <class Item>
class Vector : public T_Container {
public:
    Vector(int size, int delta);

    void Flush() override;
    std::size_t GetMemoryUsed() const override { return static_cast<std::size_t>(capacity) * sizeof(Item) + 20; }
    int GetMaxItems() const override { return MaxItems; }

    // Item `i`, which must exist.
    const Item& operator[](int i) const { return data.get()[i]; }

protected:
    static constexpr int MaxItems = 0x1fffffff;

    // The capacity to grow to, or the present one if the array can't grow.
    int LargerCapacity() const;
    // Moves to a new array, with the first `kept` items.
    void Relocate(int newCapacity, int kept);

    std::unique_ptr<Item[]> data;  // not initialised
    int capacity;
    int initialCapacity;
    int growthDelta;
};

// Adds the number of items.
template <class Item>
class CVector : public Vector<Item> {
public:
    using Vector<Item>::Vector;

    bool IsEmpty() const override { return itemCount == 0; }
    int GetCount() const override { return itemCount; }
    void Flush() override;
    std::size_t GetMemoryUsed() const override { return Vector<Item>::GetMemoryUsed() + 8; }
    // Index of the first item that equals `item`, or -1.
    virtual int Find(Item item) const;

    // Removes all items, keeps the memory, and makes it large enough for `wanted` items.
    void StartOver(int wanted);

protected:
    int itemCount = 0;
};

// Keeps the items in order.
template <class Item>
class SVector : public CVector<Item> {
public:
    using CVector<Item>::CVector;

    int Find(Item item) const override;

    // The place at which `item` can be inserted so that the order is kept. A NaN, which has no order, gets some place.
    int FindInsertPos(Item item) const;
    // Inserts `item` and gives `place`, or -1 if there is no such place or the array is full and can't grow.
    int InsertAt(Item item, int place);
    // Whether the lowest item comes first (the default) or the highest. May be called only while the container is
    // empty.
    void SetAscending(bool lowestFirst) { ascending = lowestFirst; }

private:
    bool IsAbove(Item a, Item b) const { return ascending ? a > b : a < b; }

    bool ascending = true;
};

// A bag: an item that is added several times is kept several times.
template <class Item, class Base>
class BagImpl : public Base {
public:
    using Base::Base;
};

template <class Item>
class SortedBagAsVector : public BagImpl<Item, SVector<Item>> {
public:
    using BagImpl<Item, SVector<Item>>::BagImpl;

    // Inserts `item` in order. Gives its place, or -1 if the array is full and can't grow.
    int Add(Item item) { return this->InsertAt(item, this->FindInsertPos(item)); }
};

}  // namespace sarvane
