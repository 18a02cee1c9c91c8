#pragma once

#include <cstddef>
#include <vector>

namespace sarvane {

// A window as one contiguous array, oldest first. Dropping the oldest entry moves nothing; the rest moves down only
// once as many entries have gone as are left, so a step costs the same whatever the window's length. A copy takes the
// window alone and keeps the room that its target has.
template <class Element>
class SlidingArray {
public:
    SlidingArray() = default;
    SlidingArray(const SlidingArray& source) : cells(source.begin(), source.end()) {}
    SlidingArray& operator=(const SlidingArray& source) {
        if (this != &source) {
            cells.assign(source.begin(), source.end());
            first = 0;
        }
        return *this;
    }

    int Size() const { return static_cast<int>(cells.size() - first); }
    const Element* begin() const { return cells.data() + first; }
    const Element* end() const { return cells.data() + cells.size(); }

    // Entry `i`, counted from the oldest.
    const Element& operator[](int i) const { return begin()[i]; }
    // The entry `bars` places before the newest.
    const Element& Newest(int bars = 0) const { return end()[-1 - bars]; }

    void Push(const Element& entry) {
        if (cells.size() == cells.capacity() && first >= cells.size() - first) {
            cells.erase(cells.begin(), cells.begin() + static_cast<std::ptrdiff_t>(first));
            first = 0;
        }
        cells.push_back(entry);
    }
    void PopFront() {
        if (Size() > 0) ++first;
    }
    void Clear() {
        cells.clear();
        first = 0;
    }

private:
    std::vector<Element> cells;
    std::size_t first = 0;  // cells ahead of it have been dropped
};

}  // namespace sarvane
