#pragma once

#include "frame/bar_inputs.h"
#include "frame/sliding_array.h"
#include "frame/state_store.h"

namespace sarvane {

// The kinds that operators start with; the others, from 0 to 38, are for their users to choose.
enum DefaultValueKind : int { HighValue = 1, LowValue = 3, CloseValue = 5 };

enum ExtremeSide : std::size_t { Lowest, Highest };
struct WindowExtreme {
    BarPrice price;
    ExtremeSide side;
};

struct StepValueRecord {
    BarPrices previous = NoPrices;                             // last defined ones; they outlive a run
    std::array<BarPrices, 2> extremes = {NoPrices, NoPrices};  // of the window by side and price, as last asked for
    std::array<SlidingArray<double>, 4> lists;                 // by price, oldest first
};

// Turns a bar into the one number that a compound operator wants from it: a price, a mean, a range, or an extreme of
// the last `period` bars. With a period above 1 the last bars are first merged into one. It has slots of its own, so
// that an operator's snapshots reach it.
class CSetStepValue {
public:
    virtual ~CSetStepValue() = default;

    // A direction of 0 takes the second of two alternatives. An unset argument changes nothing and gives 0, else the
    // result is 1. The running state stays.
    int Configure(int kind, int direction, int period);
    int Reset();
    // UndefinedValue for a period below 1 and for an unknown kind. A missing price repeats the last one.
    double Step(const BarPrices& in);
    // Bars of history that the step asks for.
    int GetLookback() const;
    int Save(short slot);
    // 0 for an unknown slot.
    int Restore(short slot);

private:
    double ValueOf(const BarPrices& bar);
    BarPrices Merged(const BarPrices& bar);
    double Extreme(WindowExtreme wanted);

    int kind = -1;
    int direction = 0;
    int period = 0;                                  // never configured: no bar has a value
    std::array<std::array<bool, 4>, 2> isCurrent{};  // by side and price: this bar has brought the extreme up to date
    StateStore<StepValueRecord> records;
};

}  // namespace sarvane
