#pragma once

#include "frame/described.h"
#include "frame/extreme_place.h"
#include "frame/history_ring.h"

namespace sarvane {

// One bar of both curves. It has no initialisers, so that making a ring doesn't write to all of its cells.
struct LevelBar {
    double key;
    double value;
};

struct LevelState {
    LevelBar previous = {UndefinedValue, UndefinedValue};  // last bar that was used
    BasicHistoryRing<LevelBar> window;
    ExtremePlace extreme;  // in `window`, while the period is constant
};

// HiLevel( value, key, period, keepGaps) and LoLevel( ...) look for the bar on which the key curve was highest or
// lowest among the last `period` bars. They give the value curve on that bar, and how many bars ago it was. Of several
// bars with the extreme key the oldest is taken. A period that is no constant becomes a third input, read on every bar.
// A missing input repeats the previous bar; with `keepGaps` it enters the window as missing. `Extreme` is the
// comparison of keys.
template <class Extreme>
class CLevOp : public Described<CLevOp<Extreme>> {
    friend Described<CLevOp>;
    static constexpr Description About = {
        .sentence = Extreme::Sentence,
        .arguments = {Takes::Curve("value", "curve that is shown"),
                      Takes::Curve("key", "curve whose extreme is looked for"),
                      Takes::Count("period", "bars in the window").From(1).CanBeBound(),
                      Takes::Switch("keepGaps", "missing inputs enter the window instead of repeating the bar before")
                          .Default("0")},
        .outputs = {{u"curve1", UnitKind::Curve, "the value curve on the bar of the extreme", DrawnAs::Line},
                    {u"integer1", UnitKind::Number, "bars since that bar", DrawnAs::Step}},
    };
    FormattedText Formula() const { return FormatText("%s( %%s, %d, %d)", Extreme::Name, period, keepGaps); }
    int BoundInputs() const { return IsUnset(period); }
    FormattedText Parameter(short n) const { return Nth(n, period, keepGaps); }
    int Lookback() const { return ValueOr(period, depth); }
    static UnitKind OutputUnits(short output) { return output == 1 ? UnitKind::Number : UnitKind::Curve; }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) override;

    // Each answers 0 or 1. No interface has these two methods, but they have places in the method table.
    virtual STDMETHODIMP GetFillsGaps(uint* flag) { return Answer(flag, !keepGaps); }
    virtual STDMETHODIMP GetKeepsGaps(uint* flag) { return Answer(flag, keepGaps); }

private:
    int depth = DefaultHistoryDepth;
    int period = UndefinedParam;
    bool keepGaps = false;
    StateStore<LevelState> states;
};

struct HighestKey {
    static constexpr const char* Name = "HiLevel";
    static constexpr const char* Sentence = "value of a curve on the bar on which a second curve was highest";
    static bool IsBeyond(double key, double best) { return key > best; }
};

struct LowestKey {
    static constexpr const char* Name = "LoLevel";
    static constexpr const char* Sentence = "value of a curve on the bar on which a second curve was lowest";
    static bool IsBeyond(double key, double best) { return key < best; }
};

using CHiLevOp = CLevOp<HighestKey>;
using CLoLevOp = CLevOp<LowestKey>;

}  // namespace sarvane
