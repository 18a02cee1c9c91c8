#pragma once

#include "frame/history_ring.h"
#include "frame/operator_contract.h"

namespace sarvane {

// The record of an operator that looks at the last values of one curve.
struct WindowState {
    double previous = UndefinedValue;  // last input that was used
    HistoryRing window;                // inputs, oldest at the head

    HRESULT Reset(int count, const double* seed) {
        previous = FirstSeed(count, seed);
        window.Clear();
        return S_OK;
    }
};

}  // namespace sarvane
