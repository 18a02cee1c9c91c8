#pragma once

#include <cstddef>
#include <vector>

namespace sarvane {

// FIFO whose entries lie side by side in one array, oldest start, for windows that are searched or summed as a whole on
// every bar.
//
// Dropping the oldest entry only advances the start of the window. A push that finds the array full moves the window
// to the front of it, if at least half of the array has been dropped, or else lets the array grow. So a push costs the
// same on average, whatever the window's length. A copy takes the entries of the window only, and reuses the memory of
// its target.
template <class Element>
class SlidingArray {
public:
    SlidingArray() = default;
    SlidingArray(const SlidingArray& source) : cells(source.begin(), source.end()) {}
    SlidingArray& operator=(const SlidingArray& source) {
        if (this != &source) {
            cells.assign(source.begin(), source.end());
            start = 0;
        }
        return *this;
    }

    int Size() const { return static_cast<int>(cells.size() - start); }
    const Element* begin() const { return cells.data() + start; }
    const Element* end() const { return cells.data() + cells.size(); }

    // Entry `i`, counted from the oldest, which is 0.
    const Element& operator[](int i) const { return begin()[i]; }
    // The entry `bars` places before the newest.
    const Element& Newest(int bars = 0) const { return end()[-1 - bars]; }

    void Push(const Element& entry) {
        if (cells.size() == cells.capacity() && start >= cells.size() - start) {
            cells.erase(cells.begin(), cells.begin() + static_cast<std::ptrdiff_t>(start));
            start = 0;
        }
        cells.push_back(entry);
    }
    // Removes the oldest entry, if there is one.
    void PopFront() {
        if (Size() > 0) ++start;
    }
    void Clear() {
        cells.clear();
        start = 0;
    }

private:
    std::vector<Element> cells;
    std::size_t start = 0;  // of the window in `cells`; the cells before it have been dropped
};

}  // namespace sarvane
