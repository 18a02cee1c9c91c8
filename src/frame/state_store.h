#pragma once

#include "sarvane/component.h"

#include <cstddef>
#include <iterator>
#include <memory>
#include <vector>

namespace sarvane {

// An operator's state records: the live one, on which `Reset` and `Calculate` work, and its snapshots in numbered
// slots. Slot 0 is the live record. When the store grows its records keep their addresses, because rings that share a
// buffer hold each other's address. Without a snapshot a store takes little more memory than its live record.
template <class State>
class StateStore {
public:
    StateStore() = default;
    // Starts with `count` new records, the live one included.
    explicit StateStore(std::size_t count) : snapshots(NewRecords(count - 1)) {}

    State& Live() { return live; }
    const State& Live() const { return live; }

    // Copies the live record into `slot`. A store that ends before that slot is filled up with new records first. Gives
    // S_FALSE for a negative slot.
    HRESULT Save(short slot) {
        if (slot < 0) return S_FALSE;
        if (slot == 0) return S_OK;
        const auto wanted = static_cast<std::size_t>(slot);
        if (snapshots.size() < wanted) Grow(wanted);
        *snapshots[wanted - 1] = live;
        return S_OK;
    }

    // The same, and drops all slots above `slot`.
    HRESULT SaveExactly(short slot) {
        if (slot < 0) return S_FALSE;
        if (snapshots.size() > static_cast<std::size_t>(slot)) snapshots.resize(static_cast<std::size_t>(slot));
        return Save(slot);
    }

    // Copies the record in `slot` back into the live one. Gives S_FALSE and changes nothing if there is no such slot.
    HRESULT Restore(short slot) {
        if (slot == 0) return S_OK;
        const std::size_t place = static_cast<std::size_t>(slot) - 1;  // beyond all records for a negative slot
        if (place >= snapshots.size()) return S_FALSE;
        live = *snapshots[place];
        return S_OK;
    }

    // Replaces all records by `count` new ones, the live one included.
    void StartOver(std::size_t count) {
        Records fresh = NewRecords(count - 1);
        live = State();
        snapshots.swap(fresh);  // not before all else has succeeded
    }

private:
    using Records = std::vector<std::unique_ptr<State>>;

    static Records NewRecords(std::size_t count) {
        Records records(count);
        for (auto& record : records) record = std::make_unique<State>();
        return records;
    }
    // If memory runs out the store stays as it is.
    [[gnu::cold, gnu::noinline]] void Grow(std::size_t wanted) {
        Records added = NewRecords(wanted - snapshots.size());
        snapshots.insert(snapshots.end(), std::make_move_iterator(added.begin()), std::make_move_iterator(added.end()));
    }

    State live;
    Records snapshots;  // element n is slot n + 1
};

}  // namespace sarvane
