#pragma once

// Containers that keep their items in one array, up to a bag that keeps them in order. Their virtual methods are a
// binary interface: none is added or moved.

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
    // Lets all items go, and with them the room that was added for them.
    virtual void Flush() = 0;
    // In bytes: the array, and a flat share for the container itself.
    virtual std::size_t GetMemoryUsed() const = 0;
    virtual int GetMaxItems() const = 0;
};

// The array. It starts with room for `size` items, at least 1, and grows by `delta` or by half, whichever is more. With
// a delta of 0 it doesn't grow.
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

    // The next larger capacity, or the present one if there is none.
    int LargerCapacity() const;
    // Takes the first `kept` items along.
    void Relocate(int newCapacity, int kept);

    std::unique_ptr<Item[]> data;  // items are not touched before they are used
    int capacity;
    int initialCapacity;
    int growthDelta;
};

// The array knows how many items it holds.
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

    // Lets all items go but keeps the room, and sees to it that there is enough for `wanted` items.
    void StartOver(int wanted);

protected:
    int itemCount = 0;
};

// The items stand in order.
template <class Item>
class SVector : public CVector<Item> {
public:
    using CVector<Item>::CVector;

    int Find(Item item) const override;

    // The place that keeps `item` in order. An item that no other compares with, as a NaN, gets some place.
    int FindInsertPos(Item item) const;
    // Gives the place back, or -1 if there is no such place or no room.
    int InsertAt(Item item, int place);
    // Whether the lowest item comes first, as it does at the start. To be set while the container is empty.
    void SetAscending(bool lowestFirst) { ascending = lowestFirst; }

private:
    bool IsAbove(Item a, Item b) const { return ascending ? a > b : a < b; }

    bool ascending = true;
};

// Equal items are held as often as they are added.
template <class Item, class Base>
class BagImpl : public Base {
public:
    using Base::Base;
};

template <class Item>
class SortedBagAsVector : public BagImpl<Item, SVector<Item>> {
public:
    using BagImpl<Item, SVector<Item>>::BagImpl;

    // Gives the item's place, or -1 if there is no room.
    int Add(Item item) { return this->InsertAt(item, this->FindInsertPos(item)); }
};

}  // namespace sarvane
