#include "live.h"

#include "failure.h"
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

std::vector<double> ResultsFrom(const Series& series, std::size_t bar) {
    std::vector<double> values;
    for (; bar < series.BarCount(); ++bar) {
        const Series::Row results = series.Results(bar);
        values.insert(values.end(), results.begin(), results.end());
    }
    return values;
}

bool HasSameBits(Series::Row values, const double* others) {
    return std::ranges::all_of(values, [&](double value) {
        return std::bit_cast<std::uint64_t>(value) == std::bit_cast<std::uint64_t>(*others++);
    });
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
           TimeReader times, const std::vector<std::string>& conditions)
    : bars(header, std::move(times)), show(std::move(whenChanged)) {
    Compiler compiler(library.Studies(), bars.Columns());
    for (const std::string& expression : expressions) {
        if (const auto problem = compiler.Add(expression, {settings.operators, allOutputs}))
            FailWith(*problem, expression);
    }
    const std::size_t shown = compiler.Compiled().results.size();
    for (const std::string& condition : conditions) {
        const std::size_t before = compiler.Compiled().results.size();
        if (const auto problem = compiler.Add(condition, {settings.operators, false})) FailWith(*problem, condition);
        if (compiler.Compiled().results.size() != before + 1) Fail("{}: a condition must have a value", condition);
    }
    series.emplace(compiler.Finish(), SeriesSettings{snapshotDistance, slots, settings.hold, settings.priceStep});
    present.resize(Compiled().results.size());
    for (std::size_t i = 0; i < shown; ++i) results.push_back({Compiled().results[i], &present[i]});
}

std::size_t Live::Take(const BarRow& row, std::vector<double>* before) {
    const std::size_t changes = bars.TimeChanges();
    const std::size_t bar = bars.BarOf(row.date), count = bars.BarCount();
    if (bars.TimeChanges() > changes && bars.Header().timeColumn) RecalculateFrom(0);
    if (before && bar < count) *before = bars.Row(bar).values;
    if (bar == count)
        bars.Append(row);
    else
        bars.Replace(bar, row.values);
    const auto start = Clock::now();
    const auto take = [&](const std::vector<double>& values) {
        Checked(bar == count ? series->Append(static_cast<std::int64_t>(bar), values) : series->Correct(bar, values));
    };
    bars.Header().timeColumn ? take(bars.Row(bar).values) : take(row.values);
    if (bar + 1 >= count) updates.Add(NanosecondsSince(start));
    ticks += bar + 1 == count;
    corrections += bar + 1 < count;
    ShowChanged();
    return bar;
}

// What was shown stays with its bar, so that only what changes is shown again.
Live::Difference Live::TakeOver(BarFile other) {
    std::vector<std::size_t> places;  // of the old bar that each bar was, from the first difference on
    const Difference difference = Compare(bars, other, [&](std::size_t old, std::size_t bar) {
        places.resize(bar, NoPlace);
        places.push_back(old);
    });
    bars = std::move(other);
    ticks += difference.ticks;
    corrections += difference.corrections;
    if (!difference.firstBar) return difference;
    places.resize(bars.BarCount(), NoPlace);
    const std::size_t first = *difference.firstBar, oldCount = series->BarCount();
    const std::vector<double> shown = ResultsFrom(*series, first);
    RecalculateFrom(first);
    for (const std::size_t bar : series->Changed()) {
        if (bar < first) ShowBar(bar);
    }
    for (std::size_t bar = first; bar < bars.BarCount(); ++bar) {
        const std::size_t old = places[bar];
        const bool wasShown = old != NoPlace && old < oldCount;
        if (!wasShown || !HasSameBits(series->Results(bar), &shown[(old - first) * present.size()])) ShowBar(bar);
    }
    return difference;
}

void Live::RecalculateFrom(std::size_t first) {
    std::vector<std::int64_t> times;
    std::vector<double> rows;
    for (std::size_t bar = first; bar < bars.BarCount(); ++bar) {
        times.push_back(static_cast<std::int64_t>(bar));
        for (std::size_t column = 0; column < bars.Columns().size(); ++column) rows.push_back(bars.Value(column, bar));
    }
    Checked(series->Rewrite(first, times, rows));
}

double Live::Value(const Result& result, std::size_t bar) const {
    return series->Results(bar)[static_cast<std::size_t>(result.value - present.data())];
}

bool Live::Holds(std::size_t condition, std::size_t bar) const {
    const double value = series->Results(bar)[results.size() + condition];
    return !IsUndefined(value) && !std::isnan(value) && value != 0.0;
}

void Live::ShowChanged() {
    for (const std::size_t bar : series->Changed()) ShowBar(bar);
}

void Live::ShowBar(std::size_t bar) {
    std::ranges::copy(series->Results(bar), present.begin());
    show(bar);
}

std::string Live::Finish() {
    std::string report = fmt::format("bars       {} (ticks: {}, corrections: {})\n"
                                     "depth      {}, lookback {} bars\n"
                                     "update     median {:.2f} us, 99th percentile {:.2f} us\n",
                                     bars.BarCount(), ticks, corrections, Compiled().depth, Compiled().lookback,
                                     updates.Quantile(0.5) / 1e3, updates.Quantile(0.99) / 1e3);
    const std::size_t snapshots = series->SnapshotCount(), distance = series->Settings().snapshotDistance;
    const std::int64_t before = AllocatedBytes() - static_cast<std::int64_t>(series->Bytes());
    series.reset();
    const std::int64_t freed = std::max<std::int64_t>(before - AllocatedBytes(), 0);
    if (distance > 0)
        report += fmt::format("snapshots  {}, every {} bars, {:.1f} kB with the running state\n", snapshots, distance,
                              static_cast<double>(freed) / 1e3);
    return report;
}

}  // namespace sarvane::study
