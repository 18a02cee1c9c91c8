#pragma once

#include "frame/described.h"
#include "frame/history_ring.h"

namespace sarvane {

struct EventOffsetState {
    double offset = UndefinedValue;      // bars since the event that is looked for; undefined before there are so many
    bool seen = false;                   // whether any input was defined
    long long bars = 0;                  // since the operator was made
    BasicHistoryRing<long long> events;  // by `bars`: when each of the last `eventCount` events was
};

// EventOffsetOp( curve, eventCount, flagBars, maxOffset) tells how many bars ago an event was. A bar is an event if the
// curve is not zero on it; `eventCount` 1 looks for the newest event, 2 for the one before it. The output is minus the
// number of bars, and undefined from `maxOffset` bars on. With `flagBars` it is 1 on the bar of the event and the
// `flagBars` - 1 bars after it, and 0 on all others.
class CEventOffset : public Described<CEventOffset> {
    friend Described;
    static constexpr int MostEvents = 10000;
    static constexpr Description About = {
        .sentence = "how many bars ago an event was, an event being a bar on which a curve is not 0",
        .arguments = {Takes::Curve("curve", "events: where it is not 0"),
                      Takes::Count("eventCount", "which event is looked for: 1 is the newest, 2 the one before it")
                          .From(1)
                          .To(MostEvents)
                          .Default("1"),
                      Takes::Count("flagBars",
                                   "the output is 1 on this many bars from the event on, else 0; without it, an offset")
                          .From(1)
                          .Optional(),
                      Takes::Count("maxOffset", "bars after which an event no longer counts").From(1).Default("400")},
        .outputs = {{u"integer1", UnitKind::Number,
                     "bars since the event, with a minus sign; with flagBars, 1 near the event and else 0",
                     DrawnAs::Step}},
    };
    FormattedText Formula() const {
        return FormatText("EventOffsetOp (%%s, %d, %d, %d)", eventCount, TruncateToInt(flagBars),
                          TruncateToInt(maxOffset));
    }
    FormattedText Parameter(short n) const { return Nth(n, eventCount, flagBars, maxOffset); }
    int Lookback() const { return TruncateToInt(maxOffset) - 1; }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) override;

private:
    void UpdateOffset(EventOffsetState& live, double value) const;

    int eventCount = 1;
    double flagBars = -1.0;    // below 0: the output is the offset
    double maxOffset = 400.0;  // an event this many bars ago or more counts as none
    StateStore<EventOffsetState> states{2};
};

}  // namespace sarvane
