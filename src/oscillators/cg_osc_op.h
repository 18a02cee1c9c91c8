#pragma once

#include "frame/described.h"
#include "frame/window_state.h"

namespace sarvane {

// CGOsc( curve, period) is the centre of gravity oscillator of John F. Ehlers ("The CG Oscillator", Technical Analysis
// of Stocks & Commodities, 2002). The last `period` values are weights at the positions 1 (the newest value) to
// `period` (the oldest); the output is the position of their centre of gravity, negated. Without a period there is no
// output.
class CCGOscOp : public Described<CCGOscOp> {
    friend Described;
    static constexpr Description About = {
        .sentence = "position of the centre of gravity of the last `period` values, negated",
        .arguments = {Takes::Curve("curve", "values that are taken as weights"),
                      Takes::Count("period", "values in the window").From(1)},
        .outputs = {{u"curve1", UnitKind::Curve, "the position, negated: -1 is the newest value, -`period` the oldest",
                     DrawnAs::Line}},
    };
    FormattedText Formula() const { return FormatText("CGOsc( %%s, %d)", period); }
    FormattedText Parameter(short n) const { return Nth(n, period); }
    int Lookback() const { return ValueOr(period, depth); }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override { return states.Live().Reset(count, seed); }
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) override;

private:
    double CentreOfGravity(HistoryRing& window, double value) const;

    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    StateStore<WindowState> states;
};

}  // namespace sarvane
