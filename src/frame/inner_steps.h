#pragma once

// For operators that are built from inner steps, such as averages: passes resets and snapshots on to each step. The
// operator lists its steps once, as `auto Steps() { return std::tie(fast, slow, signal); }`, or holds them in an array,
// and hands that list to these functions. A step has Reset, Save, Restore and GetLookback.

#include "frame/state_store.h"

#include <algorithm>
#include <tuple>

namespace sarvane {

template <class Steps>
void ResetAll(Steps&& steps) {
    std::apply([](auto&... step) { (step.Reset(), ...); }, steps);
}

// Saves the operator's own record, and if that succeeds each step.
template <class State, class Steps>
HRESULT SaveAll(short slot, StateStore<State>& states, Steps&& steps) {
    const HRESULT status = states.Save(slot);
    if (status == S_OK) std::apply([slot](auto&... step) { (step.Save(slot), ...); }, steps);
    return status;
}

// Restores each step and then the operator's own record. The steps are restored even if the operator has no such slot;
// the status tells whether it has.
template <class State, class Steps>
HRESULT RestoreAll(short slot, StateStore<State>& states, Steps&& steps) {
    std::apply([slot](auto&... step) { (step.Restore(slot), ...); }, steps);
    return states.Restore(slot);
}

// The longest lookback of the steps in bars, 0 at least.
template <class Steps>
int LongestLookback(Steps&& steps) {
    return std::apply([](auto&... step) { return std::max({0, step.GetLookback()...}); }, steps);
}

}  // namespace sarvane
