#pragma once

namespace sarvane::study {

// Makes room for one more element, so that adding it can't fail. Grows as adding does: not with every element.
template <class List>
void MakeRoom(List& list) {
    if (list.size() == list.capacity()) list.reserve(2 * list.size() + 1);
}

}  // namespace sarvane::study
