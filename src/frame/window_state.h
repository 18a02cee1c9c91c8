#pragma once

#include "frame/history_ring.h"
#include "frame/operator_contract.h"

namespace sarvane {

// The last statement of a bar that ends with a push. The rare push that does more than store the element is a call at
// the very end, so that the bar saves no registers for it.
template <class Ring, class Element>
[[gnu::cold, gnu::noinline]] HRESULT EndWithLargePush(Ring& window, Element element) {
    window.Push(element);
    return S_OK;
}
template <class Ring, class Element>
HRESULT EndWithPush(Ring& window, Element element) {
    if (!window.PushIfSimple(element)) [[unlikely]] return EndWithLargePush(window, element);
    return S_OK;
}

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
