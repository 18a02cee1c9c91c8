#include "server/lost_snapshots.h"

#include <algorithm>

namespace sarvane {

void LostSnapshots::MakeRoom(short slot) {
    const auto index = static_cast<std::size_t>(slot);
    if (index >= marks.size()) marks.resize(index + 1);
}

void LostSnapshots::Keep(short slot) noexcept {
    const auto index = static_cast<std::size_t>(slot);
    marks[index] = false;
    existing = std::max(existing, index + 1);
}

void LostSnapshots::Lose(short slot) noexcept {
    const auto index = static_cast<std::size_t>(slot);
    if (index < marks.size()) marks[index] = true;
    if (index >= existing) growthFailed = true;
}

bool LostSnapshots::Contains(short slot) const noexcept {
    if (slot < 0) return false;
    const auto index = static_cast<std::size_t>(slot);
    return index < existing ? marks[index] : growthFailed;
}

}  // namespace sarvane
