#pragma once

#include <cstddef>

namespace sarvane::study {

// Makes room for `more` elements, so that adding them can't fail. Grows as adding does: not with every element.
template <class List>
void MakeRoom(List& list, std::size_t more = 1) {
    if (list.capacity() - list.size() < more) list.reserve(2 * list.size() + more);
}

}  // namespace sarvane::study
