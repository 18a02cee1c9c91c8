#pragma once

#include "frame/described.h"
#include "frame/window_state.h"

namespace sarvane {

// Rank( curve, unread, period, direction, tieWeight, spare) is the rank of the newest value among the last `period`
// values: 1, plus 1 for each value that beats it, plus `tieWeight` for each equal value. Higher values beat it if
// `direction` is above 0, else lower ones do. If any of the four parameters is unset the operator declares five inputs.
// Only with an unset period is there an output: period, direction and tieWeight are then all read from inputs,
// constants or not.
class CRankOp : public Described<CRankOp> {
    friend Described;
    static constexpr Description About = {
        .sentence = "where the newest value stands among the last `period` values",
        .arguments =
            {Takes::Curve("curve", "whose values are ranked"),
             Takes::Number("unread", "not read; keeps a place in the expression").Optional().CanBeBound(),
             Takes::Count("period", "values in the window").From(1).CanBeBound(),
             Takes::Count("direction", "above 0, the highest value has rank 1; else the lowest has").CanBeBound(),
             Takes::Count("tieWeight", "what each equal value adds to the rank").CanBeBound(),
             Takes::Count("spare", "any number: only has to be there, unless the period is bound")},
        .outputs = {{u"percent", UnitKind::Number, "the rank; 1 is the first place", DrawnAs::Step}},
    };
    FormattedText Formula() const { return FormatText("Rank( %%s, %d)", period); }
    int BoundInputs() const { return AreAllSet() ? 0 : 4; }
    int ParameterCount() const { return AreAllSet() ? 4 : 0; }
    FormattedText Parameter(short n) const { return Nth(n, period, direction, tieWeight, spareParam); }
    int Lookback() const { return ValueOr(period, depth); }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override { return states.Live().Reset(count, seed); }
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) override;

private:
    bool AreAllSet() const {
        return !IsUnset(period) && !IsUnset(direction) && !IsUnset(tieWeight) && !IsUnset(spareParam);
    }
    double RankInWindow(const HistoryRing& window) const;

    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    int direction = UndefinedParam;
    int tieWeight = UndefinedParam;
    int spareParam = UndefinedParam;  // its value is not used, but with a constant period it has to be set
    StateStore<WindowState> states;
};

}  // namespace sarvane
