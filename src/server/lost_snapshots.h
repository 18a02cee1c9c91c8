#pragma once

#include <cstddef>
#include <vector>

namespace sarvane {

// Which snapshots of an object can't be restored, since the last attempt to save them failed.
class LostSnapshots {
public:
    // Must succeed before a save, so that its failure can be marked without memory.
    void MakeRoom(short slot);
    // A save to `slot` succeeded: that slot and all below it exist now.
    void Keep(short slot) noexcept;
    // A save to `slot` failed.
    void Lose(short slot) noexcept;
    bool Contains(short slot) const noexcept;

private:
    std::vector<bool> marks;   // by slot
    std::size_t existing = 0;  // slots below it are known to exist
    // Slots from `existing` on may exist in some parts of the operator and not in others: a save failed while it made
    // them.
    bool growthFailed = false;
};

}  // namespace sarvane
