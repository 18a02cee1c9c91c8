#include "server/lost_snapshots.h"

namespace sarvane {

void LostSnapshots::Lose(short slot) noexcept {
    const auto index = static_cast<std::size_t>(slot);
    anyLost = true;
    if (index < marks.size()) marks[index] = true;
    if (index >= existing) growthFailed = true;
}

bool LostSnapshots::IsLost(short slot) const noexcept {
    if (slot < 0) return false;
    const auto index = static_cast<std::size_t>(slot);
    return index < existing ? marks[index] : growthFailed;
}

}  // namespace sarvane
