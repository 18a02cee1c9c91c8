#pragma once

#include "sarvane/component.h"

#include <deque>

namespace sarvane {

// An operator's state records: the live one, on which `Reset` and `Calculate` work, and its snapshots in numbered
// slots. Slot 0 is the live record. When the store grows its records keep their addresses, because rings that share a
// buffer hold each other's address.
template <class State>
class StateStore {
public:
    StateStore() = default;
    // Starts with `count` new records, the live one included.
    explicit StateStore(std::size_t count) : snapshots(count - 1) {}

    State& Live() { return live; }
    const State& Live() const { return live; }

    // Copies the live record into `slot`. A store that ends before that slot is filled up with new records first. Gives
    // S_FALSE for a negative slot.
    HRESULT Save(short slot) {
        if (slot < 0) return S_FALSE;
        if (slot == 0) return S_OK;
        const auto wanted = static_cast<std::size_t>(slot);
        if (snapshots.size() < wanted) snapshots.resize(wanted);
        snapshots[wanted - 1] = live;
        return S_OK;
    }

    // The same, and drops all slots above `slot`.
    HRESULT SaveExactly(short slot) {
        if (slot < 0) return S_FALSE;
        snapshots.resize(static_cast<std::size_t>(slot));
        return Save(slot);
    }

    // Copies the record in `slot` back into the live one. Gives S_FALSE and changes nothing if there is no such slot.
    HRESULT Restore(short slot) {
        if (slot < 0 || static_cast<std::size_t>(slot) > snapshots.size()) return S_FALSE;
        if (slot > 0) live = snapshots[static_cast<std::size_t>(slot) - 1];
        return S_OK;
    }

    // Replaces all records by `count` new ones, the live one included.
    void StartOver(std::size_t count) {
        std::deque<State> fresh(count - 1);
        live = State();
        snapshots.swap(fresh);  // not before all else has succeeded
    }

private:
    State live;
    std::deque<State> snapshots;  // element n is slot n + 1
};

}  // namespace sarvane
