#include "statistics/sorted_containers.h"

#include <algorithm>
#include <utility>

namespace sarvane {
namespace {

template <class Item>
std::unique_ptr<Item[]> MakeArray(int items) {
    return std::make_unique_for_overwrite<Item[]>(static_cast<std::size_t>(items));
}

}  // namespace

template <class Item>
Vector<Item>::Vector(int size, int delta)
    : data(MakeArray<Item>(std::max(size, 1))), capacity(std::max(size, 1)), initialCapacity(capacity),
      growthDelta(delta) {}

template <class Item>
void Vector<Item>::Flush() {
    Relocate(initialCapacity, 0);
}

// A negative delta counts as one that is too small: the array grows by half.
template <class Item>
int Vector<Item>::LargerCapacity() const {
    if (growthDelta == 0 || capacity >= MaxItems) return capacity;
    const int step = std::max({1, growthDelta, capacity / 2});
    return step < MaxItems - capacity ? capacity + step : MaxItems;
}

template <class Item>
void Vector<Item>::Relocate(int newCapacity, int kept) {
    auto larger = MakeArray<Item>(newCapacity);
    std::copy_n(data.get(), kept, larger.get());
    data = std::move(larger);
    capacity = newCapacity;
}

template <class Item>
void CVector<Item>::Flush() {
    Vector<Item>::Flush();
    itemCount = 0;
}

template <class Item>
int CVector<Item>::Find(Item item) const {
    const Item* const first = this->data.get();
    const Item* const last = first + itemCount;
    const Item* const found = std::find(first, last, item);
    return found == last ? -1 : static_cast<int>(found - first);
}

template <class Item>
void CVector<Item>::StartOver(int wanted) {
    itemCount = 0;
    if (wanted > this->capacity) this->Relocate(std::max(wanted, this->LargerCapacity()), 0);
}

template <class Item>
int SVector<Item>::Find(Item item) const {
    const int place = FindInsertPos(item);
    return place < this->itemCount && (*this)[place] == item ? place : -1;
}

// Compares with the first item, then with the last one, and then searches between them by bisection. So an item that
// equals the first one goes before it, one that equals the last one goes before that, and one that equals any other
// goes before the first of its equals.
template <class Item>
int SVector<Item>::FindInsertPos(Item item) const {
    const int count = this->itemCount;
    if (count == 0) return 0;
    const Item* const items = this->data.get();
    const Item last = items[count - 1];
    if (IsAbove(items[0], item) || items[0] == item) return 0;
    if (last == item) return count - 1;
    if (IsAbove(item, last)) return count;
    int low = 0;
    int high = count - 1;
    while (low < high - 1) {
        const int middle = low + (high - low) / 2;
        (IsAbove(item, items[middle]) ? low : high) = middle;
    }
    return high;
}

template <class Item>
int SVector<Item>::InsertAt(Item item, int place) {
    const int count = this->itemCount;
    if (place < 0 || place > count) return -1;
    if (count == this->capacity) {
        const int larger = this->LargerCapacity();
        if (larger == count) return -1;
        this->Relocate(larger, count);
    }
    Item* const gap = this->data.get() + place;
    std::copy_backward(gap, this->data.get() + count, this->data.get() + count + 1);
    *gap = item;
    ++this->itemCount;
    return place;
}

template class Vector<double>;
template class CVector<double>;
template class SVector<double>;
template class BagImpl<double, SVector<double>>;
template class SortedBagAsVector<double>;

}  // namespace sarvane
