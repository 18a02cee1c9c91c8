#include "statistics/event_offset.h"

#include <cmath>

namespace sarvane {
namespace {

enum Argument : short { Curve, EventCount, FlagBars, MaxOffset };

// Values within rounding error of zero are no events. Nor is a NaN.
bool IsEvent(double value) { return !IsUndefined(value) && std::abs(value) > 0x1p-52; }

}  // namespace

STDMETHODIMP CEventOffset::SetParameter(short index, const char16_t* value, TextSlot*) {
    const int number = TextToInt(value);
    switch (index) {
    case EventCount: eventCount = number >= 1 && number <= MostEvents ? number : 1; break;
    case FlagBars: flagBars = number > 0 ? number : -1.0; break;
    case MaxOffset: maxOffset = number > 0 ? number : 400.0; break;
    }
    return S_OK;
}

STDMETHODIMP CEventOffset::Reset(int, const double*) {
    EventOffsetState& live = states.Live();
    live.offset = UndefinedValue;
    live.seen = false;
    live.events.Clear();
    return S_OK;
}

STDMETHODIMP CEventOffset::Calculate(int, const double* in, int, double* out) {
    EventOffsetState& live = states.Live();
    UpdateOffset(live, in[0]);
    const bool near = !IsUndefined(live.offset) && maxOffset > live.offset;
    if (!live.seen) {
        out[0] = UndefinedValue;
    } else if (flagBars < 0.0) {
        out[0] = near ? -live.offset : UndefinedValue;
    } else {
        out[0] = near && flagBars - 1.0 >= live.offset ? 1.0 : 0.0;
    }
    return S_OK;
}

// A missing input is a bar without an event, so that the offset goes on growing.
void CEventOffset::UpdateOffset(EventOffsetState& live, double value) const {
    if (!IsUndefined(value)) live.seen = true;
    ++live.bars;
    if (!IsEvent(value)) {
        if (!IsUndefined(live.offset)) live.offset += 1.0;
        return;
    }
    PushReplacing(live.events, live.bars, eventCount);
    const bool isFull = live.events.Size() == eventCount;
    live.offset = isFull ? static_cast<double>(live.bars - live.events[0]) : UndefinedValue;
}

}  // namespace sarvane
