#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace sarvane {

// Knows which snapshots of an object can't be restored because the last attempt to save them failed.
class LostSnapshots {
public:
    // To be called before a save. It allocates what marking a failure takes: after a failed save there may be no
    // memory.
    void MakeRoom(short slot) {
        const auto index = static_cast<std::size_t>(slot);
        if (index >= marks.size()) marks.resize(index + 1);
    }
    // A save to `slot` succeeded: that slot and all below it exist now.
    void Keep(short slot) noexcept {
        const auto index = static_cast<std::size_t>(slot);
        if (anyLost) marks[index] = false;
        existing = std::max(existing, index + 1);
    }
    // A save to `slot` failed.
    void Lose(short slot) noexcept;
    bool Contains(short slot) const noexcept { return anyLost && IsLost(slot); }

private:
    bool IsLost(short slot) const noexcept;

    std::vector<bool> marks;   // of each slot: it is lost
    std::size_t existing = 0;  // slots below it are known to exist
    bool anyLost = false;      // whether a save ever failed; until then no slot need be looked up
    // A save failed while it made slots from `existing` on: the operator's own record may have them, and some of its
    // inner steps not. All of them count as lost.
    bool growthFailed = false;
};

}  // namespace sarvane
