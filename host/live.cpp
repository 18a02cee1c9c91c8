#include "live.h"

#include "platform/system.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <fmt/format.h>

namespace sarvane::study {
namespace {

using Clock = std::chrono::steady_clock;

std::uint64_t NanosecondsSince(Clock::time_point start) {
    return static_cast<std::uint64_t>(std::chrono::nanoseconds(Clock::now() - start).count());
}

bool HasSameValues(const BarFile& series, std::size_t bar, const BarFile& other, std::size_t otherBar) {
    for (std::size_t column = 0; column < series.Columns().size(); ++column) {
        if (series.Value(column, bar) != other.Value(column, otherBar)) return false;
    }
    return true;
}

// Both series rise, so that one walk along both finds the bars that they share, which `onShared` is given. Bars without
// times are known by their places, up to where the series part.
template <class OnShared>
Live::Difference Compare(const BarFile& old, const BarFile& series, OnShared onShared) {
    const bool haveTimes = old.HasTimes() && series.HasTimes();
    const auto isShared = [&](std::size_t i, std::size_t bar) {
        return haveTimes ? old.Time(i) == series.Time(bar) : i == bar && old.Date(i) == series.Date(bar);
    };
    Live::Difference difference;
    for (std::size_t i = 0, bar = 0; i < old.BarCount() || bar < series.BarCount();) {
        const bool both = i < old.BarCount() && bar < series.BarCount();
        const bool isSame = both && isShared(i, bar);
        const bool isGone = !isSame && i < old.BarCount() && (!both || !haveTimes || old.Time(i) < series.Time(bar));
        const bool isChanged = !isSame || !HasSameValues(old, i, series, bar);
        if (isChanged && !difference.firstBar) difference.firstBar = bar;
        if (isSame) onShared(i, bar);
        if (isGone && difference.goneBars++ == 0) difference.firstGone = old.Date(i);
        difference.newBars += !isSame && !isGone;
        if (isSame && isChanged) ++(i + 1 == old.BarCount() ? difference.ticks : difference.corrections);
        i += isSame || isGone;
        bar += !isGone;
    }
    return difference;
}

}  // namespace

// A duration counts by its highest bit and the three bits behind that.
void Durations::Add(std::uint64_t nanoseconds) {
    const std::uint64_t value = std::max<std::uint64_t>(nanoseconds, 8);
    const auto shift = static_cast<std::size_t>(std::bit_width(value)) - 4;
    ++counts[shift * 8 + ((value >> shift) & 7)];
    ++total;
}

double Durations::Quantile(double share) const {
    const double wanted = share * static_cast<double>(total);
    double seen = 0.0;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        seen += static_cast<double>(counts[i]);
        if (counts[i] > 0 && seen >= wanted) return std::ldexp(static_cast<double>(8 + i % 8), static_cast<int>(i / 8));
    }
    return 0.0;
}

Live::Live(const Library& library, const BarHeader& header, const std::vector<std::string>& expressions,
           bool allOutputs, RunSettings settings, std::size_t snapshotDistance, Show whenChanged, std::size_t slots,
           TimeReader times)
    : bars(header, std::move(times)), show(std::move(whenChanged)), distance(snapshotDistance), mostKept(slots) {
    settings.live = true;
    study.emplace(library, bars, settings);
    for (const std::string& expression : expressions) study->Add(expression, allOutputs);
    if (!study->WithoutSnapshots().empty()) distance = 0;
    study->Reset();
}

void Live::Take(const BarRow& row) {
    const std::size_t bar = bars.BarOf(row.date), count = bars.BarCount();
    if (bar == count)
        Open(row);
    else
        bar + 1 == count ? Tick(row) : Correct(bar, row);
}

void Live::Open(const BarRow& row) {
    const std::size_t bar = bars.BarCount();
    bars.Append(row);
    const auto start = Clock::now();
    SaveBefore(bar);
    study->Step(bar);
    updates.Add(NanosecondsSince(start));
    ShowIfChanged(bar);
}

void Live::Tick(const BarRow& row) {
    const std::size_t last = bars.BarCount() - 1;
    bars.Replace(last, row.values);
    const auto start = Clock::now();
    study->Restore(TopSlot());
    study->Step(last);
    updates.Add(NanosecondsSince(start));
    ++ticks;
    ShowIfChanged(last);
}

void Live::Correct(std::size_t bar, const BarRow& row) {
    bars.Replace(bar, row.values);
    ++corrections;
    RunFrom(bar);
}

// What was shown stays with its bar, so that only what changes is shown again.
Live::Difference Live::TakeOver(BarFile series) {
    const std::size_t width = study->Results().size();
    std::vector<double> stillShown(series.BarCount() * width);
    std::vector<bool> areShown(series.BarCount());
    const Difference difference = Compare(bars, series, [&](std::size_t old, std::size_t bar) {
        std::copy_n(&shown[old * width], width, &stillShown[bar * width]);
        areShown[bar] = isShown[old];
    });
    bars = std::move(series);
    shown = std::move(stillShown);
    isShown = std::move(areShown);
    ticks += difference.ticks;
    corrections += difference.corrections;
    if (difference.firstBar) RunFrom(*difference.firstBar);
    return difference;
}

// Calculates `bar` and all behind it, or the last one if there are fewer.
void Live::RunFrom(std::size_t bar) {
    bar = std::min(bar, std::max<std::size_t>(bars.BarCount(), 1) - 1);
    const std::size_t slot = distance > 0 ? std::min(bar / distance, kept) : 0;
    if (slot > 0) {
        study->Restore(static_cast<short>(slot));
        kept = slot - 1;  // saved once more on the way
    } else {
        study->Reset();
        kept = 0;
    }
    for (std::size_t next = slot * distance; next < bars.BarCount(); ++next) {
        SaveBefore(next);
        study->Step(next);
        if (next >= bar) ShowIfChanged(next);
    }
}

// Only the top slot follows the bars. A running state that shared its history with a snapshot that stays would carry
// all bars since then along, so it goes over to the top slot.
void Live::SaveBefore(std::size_t bar) {
    if (distance == 0 || bar == 0 || bar % distance != 0) return study->Save(TopSlot());
    if (kept == mostKept) return MakeRoom(bar);
    study->Save(TopSlot());
    ++kept;
    study->Save(TopSlot());
    study->Restore(TopSlot());
}

// All slots are used up: half as many do, twice as far from each other.
void Live::MakeRoom(std::size_t bar) {
    distance *= 2;
    kept = 0;
    study->Reset();
    for (std::size_t next = 0; next < bar; ++next) {
        SaveBefore(next);
        study->Step(next);
    }
    SaveBefore(bar);
}

void Live::ShowIfChanged(std::size_t bar) {
    const auto& results = study->Results();
    const std::size_t begin = bar * results.size();
    if (bar == isShown.size()) {
        shown.resize(begin + results.size());
        isShown.push_back(false);
    }
    bool changed = !isShown[bar];
    isShown[bar] = true;
    for (std::size_t i = 0; i < results.size(); ++i) {
        double& last = shown[begin + i];
        changed |= std::bit_cast<std::uint64_t>(last) != std::bit_cast<std::uint64_t>(*results[i].value);
        last = *results[i].value;
    }
    if (changed) show(bar);
}

std::string Live::Finish() {
    std::string report = fmt::format("bars       {} (ticks: {}, corrections: {})\n"
                                     "depth      {}, lookback {} bars\n"
                                     "update     median {:.2f} us, 99th percentile {:.2f} us\n",
                                     bars.BarCount(), ticks, corrections, study->Depth(), study->Lookback(),
                                     updates.Quantile(0.5) / 1e3, updates.Quantile(0.99) / 1e3);
    const std::int64_t before = AllocatedBytes();
    study.reset();
    const std::int64_t freed = std::max<std::int64_t>(before - AllocatedBytes(), 0);
    if (distance > 0)
        report += fmt::format("snapshots  {}, every {} bars, {:.1f} kB with the running state\n", kept, distance,
                              static_cast<double>(freed) / 1e3);
    return report;
}

}  // namespace sarvane::study
