#pragma once

#include "frame/bar_inputs.h"
#include "frame/history_ring.h"
#include "frame/state_store.h"

namespace sarvane {

// Kinds of values that operators use by default. Their users can choose any kind of `ValueKindWords`.
enum DefaultValueKind : int { HighValue = 1, LowValue = 3, CloseValue = 5 };

// The bars that the values of a step are made of. They have no gaps.
using StepBars = BasicHistoryRing<BarPrices>;

// By ExtremeSide and BarPrice: extremes of the last bars, as of the last bar that needed them.
enum ExtremeSide : std::size_t { Lowest, Highest };
using StepExtremes = std::array<BarPrices, 2>;

// Turns bars into one number: a price, a mean, a range, or an extreme of the last `period` bars. With a period above 1
// prices, means and ranges are those of one bar that the last `period` bars are merged into.
class StepValue {
public:
    // Some kinds have two alternatives: a direction of 0 takes the second, any other the first.
    void Configure(int newKind, int newDirection, int period);
    // The value of the newest bar, which is also the last of `bars`. UndefinedValue for an unknown kind.
    double Of(const BarPrices& bar, const StepBars& bars, int period, StepExtremes& extremes) const {
        return simple ? simple(bar) : OfWindow(bar, bars, period, extremes);
    }

private:
    double OfWindow(const BarPrices& bar, const StepBars& bars, int period, StepExtremes& extremes) const;

    int kind = -1;
    int direction = 0;
    double (*simple)(const BarPrices&) = nullptr;  // the formula of a kind that takes the newest bar alone
};

template <std::size_t Count>
struct StepValuesRecord {
    StepValuesRecord() { extremes.fill({NoPrices, NoPrices}); }

    std::array<StepExtremes, Count> extremes;  // of each value
    StepBars bars{14};                         // the last `period` + 1
};

// `Count` values of the same bars, for compound operators. The values have one period, so that they share the bars. It
// keeps snapshots of its own, numbered as those of the operator that holds it.
template <std::size_t Count>
class CSetStepValues {
public:
    // Kinds and directions of the values, and their common period. The running state stays as it is.
    void Configure(const std::array<int, Count>& kinds, const std::array<int, Count>& directions, int newPeriod) {
        period = newPeriod;
        for (std::size_t i = 0; i < Count; ++i) values[i].Configure(kinds[i], directions[i], period);
    }
    void Reset() {
        StepValuesRecord<Count>& live = records.Live();
        live.extremes.fill({NoPrices, NoPrices});
        live.bars.Clear();
    }
    // Takes in a bar without gaps and gives its values. They are undefined for a period below 1.
    std::array<double, Count> Step(const BarPrices& bar) {
        std::array<double, Count> results;
        results.fill(UndefinedValue);
        if (period < 1) return results;
        StepValuesRecord<Count>& live = records.Live();
        live.bars.Push(bar);
        if (live.bars.Size() - 1 > period) live.bars.DropOldest();
        for (std::size_t i = 0; i < Count; ++i) results[i] = values[i].Of(bar, live.bars, period, live.extremes[i]);
        return results;
    }
    // Bars of history that the values ask for.
    int GetLookback() const { return std::max(period, 0); }
    void Save(short slot) { records.Save(slot); }
    // A slot that was never saved changes nothing.
    void Restore(short slot) { records.Restore(slot); }

private:
    std::array<StepValue, Count> values;
    int period = 0;  // 0 until configured, so that no bar has a value
    StateStore<StepValuesRecord<Count>> records;
};

}  // namespace sarvane
