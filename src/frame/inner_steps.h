#pragma once

// How an operator that is built from inner steps passes its own calls on to them. It lists them once, as
// `auto Steps() { return std::tie(fast, slow, signal); }`, or holds them as an array.

#include "frame/state_store.h"

#include <algorithm>
#include <tuple>

namespace sarvane {

template <class Steps>
void ResetAll(Steps&& steps) {
    std::apply([](auto&... step) { (step.Reset(), ...); }, steps);
}

// The operator's own record first, then each step.
template <class State, class Steps>
HRESULT SaveAll(short slot, StateStore<State>& states, Steps&& steps) {
    const HRESULT status = states.Save(slot);
    if (status == S_OK) std::apply([slot](auto&... step) { (step.Save(slot), ...); }, steps);
    return status;
}

// Each step first, whether or not the operator itself has the slot. The status is the operator's.
template <class State, class Steps>
HRESULT RestoreAll(short slot, StateStore<State>& states, Steps&& steps) {
    std::apply([slot](auto&... step) { (step.Restore(slot), ...); }, steps);
    return states.Restore(slot);
}

// In bars, never below 0.
template <class Steps>
int LongestLookback(Steps&& steps) {
    return std::apply([](auto&... step) { return std::max({0, step.GetLookback()...}); }, steps);
}

}  // namespace sarvane
