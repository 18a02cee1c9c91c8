#pragma once

#include "frame/operator_contract.h"
#include "frame/plain_ring.h"
#include "frame/state_store.h"

namespace sarvane {

struct EventOffsetState {
    double offset = UndefinedValue;  // bars since the `eventCount`-th most recent event, once there are so many
    bool seen = false;               // a defined input has come
    PlainRing gaps;                  // for each event kept: bars to the next one, for the newest one bars since it
};

// EventOffsetOp( curve, eventCount, flagBars, maxOffset) tells how far back the `eventCount`-th most recent event lies,
// an event being a bar on which the curve isn't zero: as a negative offset, or, with `flagBars`, as a flag that is 1 on
// the first so many bars from the event.
class CEventOffset : public CDefZelmorOp {
public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula, FormatText("EventOffsetOp (%%s, %d, %d, %d)", eventCount, TruncateToInt(flagBars),
                                           TruncateToInt(maxOffset)));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override { return Answer(argument, input); }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetOutputName(short, TextSlot* name, TextSlot*) override { return TextOut(name, u"integer1"); }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, 3); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text,
                       parameter == 0 ? NthInt(0, {eventCount}) : NthDouble(parameter - 1, {flagBars, maxOffset}));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, TruncateToInt(maxOffset) - 1); }
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP SaveState(short slot) override { return states.Save(slot); }
    STDMETHODIMP RestoreState(short slot) override { return states.Restore(slot); }

private:
    void TakeBar(EventOffsetState& live, double value) const;

    int eventCount = 1;
    double flagBars = -1.0;    // below 0: no flag but the offset
    double maxOffset = 400.0;  // events that lie so far back or farther count as none
    StateStore<EventOffsetState> states{2};
};

}  // namespace sarvane
