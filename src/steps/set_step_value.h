#pragma once

#include "frame/bar_inputs.h"
#include "frame/history_ring.h"
#include "frame/state_store.h"

namespace sarvane {

// Kinds of values that operators use by default. Their users can choose any kind of `ValueKindWords`.
enum DefaultValueKind : int { HighValue = 1, LowValue = 3, CloseValue = 5 };

enum ExtremeSide : std::size_t { Lowest, Highest };
// Such as the highest close of the window.
struct WindowExtreme {
    BarPrice price;
    ExtremeSide side;
};

struct StepValueRecord {
    BarPrices previous = NoPrices;  // last defined price of each kind; a reset keeps them
    // By ExtremeSide and BarPrice: extremes of the window on the last bar that needed them.
    std::array<BarPrices, 2> extremes = {NoPrices, NoPrices};
    // The last `period` + 1 bars, gaps filled. A price is undefined only in the oldest ones, before its first value.
    BasicHistoryRing<BarPrices> bars{14};
};

// Turns a bar into the one number that a compound operator wants from it: a price, a mean, a range, or an extreme of
// the last `period` bars. With a period above 1 prices, means and ranges are those of one bar that the last `period`
// bars are merged into. It keeps snapshots of its own, numbered as those of the operator that holds it.
class CSetStepValue {
public:
    virtual ~CSetStepValue() = default;

    // Some kinds have two alternatives: a direction of 0 takes the second, any other the first. If an argument is unset
    // nothing changes and the result is 0, else it is 1. The running state stays as it is.
    int Configure(int kind, int direction, int period);
    int Reset();
    // Takes in a bar and gives its value: UndefinedValue for a period below 1 and for an unknown kind. A missing price
    // repeats the last one.
    double Step(const BarPrices& in);
    // Bars of history that the step asks for.
    int GetLookback() const;
    int Save(short slot);
    // 1, or 0 for a slot that was never saved.
    int Restore(short slot) { return records.Restore(slot) == S_OK; }

private:
    double AfterPush(StepValueRecord& live, const BarPrices& bar);
    double AfterLargePush(StepValueRecord& live, const BarPrices& bar);
    double ValueOf(const BarPrices& bar);
    BarPrices Merged(const BarPrices& bar);
    double Extreme(WindowExtreme wanted);

    int kind = -1;
    int direction = 0;
    int period = 0;                                  // 0 until configured, so that no bar has a value
    double (*simple)(const BarPrices&) = nullptr;    // the formula of a kind that takes the newest bar alone
    std::array<std::array<bool, 4>, 2> isCurrent{};  // by side and price: `extremes` is up to date for this bar
    StateStore<StepValueRecord> records;
};

}  // namespace sarvane
