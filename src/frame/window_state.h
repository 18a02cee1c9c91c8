#pragma once

#include "frame/history_ring.h"
#include "frame/operator_contract.h"

namespace sarvane {

// The state record of operators that look at the last values of one curve.
struct WindowState {
    double previous = UndefinedValue;  // last input that was used
    HistoryRing window;                // the inputs used, oldest first

    HRESULT Reset(int count, const double* seed) {
        previous = FirstSeed(count, seed);
        window.Clear();
        return S_OK;
    }
};

}  // namespace sarvane
