#include "replay.h"

#include "failure.h"
#include "progress.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <fmt/ranges.h>

namespace sarvane::study {
namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

void AppendValues(const Study& study, std::vector<double>& values) {
    for (const Result& result : study.Results()) values.push_back(*result.value);
}

// The values of a plain run, bar by bar.
std::vector<double> RunValues(const Library& library, const BarFile& bars, const std::string& expression,
                              const RunSettings& settings) {
    Study study(library, bars, settings);
    study.Add(expression, true);
    study.Reset();
    std::vector<double> values;
    for (std::size_t bar = 0; bar < bars.BarCount(); ++bar) {
        study.Step(bar);
        AppendValues(study, values);
    }
    return values;
}

// Notes what differs on `bar` from the values of a run, which stand one behind the other from `expected` on.
void Compare(const Study& study, const BarFile& bars, std::size_t bar, const double* expected, ReplayResult& result) {
    result.barsWithValues += !std::all_of(expected, expected + study.Results().size(), IsUndefined);
    for (const Result& output : study.Results()) {
        const double actual = *output.value, wanted = *expected++;
        if (std::bit_cast<std::uint64_t>(actual) == std::bit_cast<std::uint64_t>(wanted)) continue;
        if (result.differingBars++ == 0)
            result.firstDifference =
                fmt::format("{}: {} is {}, a run gives {}", bars.Date(bar), output.title, actual, wanted);
        return;
    }
}

double UpdatesASecond(std::size_t updates, Seconds time) {
    return time.count() > 0.0 ? static_cast<double>(updates) / time.count() : 0.0;
}

// Updates a second where each one starts over and calculates the last `lookback` bars.
double RecalculationsASecond(Study& study, BarFile& bars, std::size_t lookback, std::size_t ticks, double seconds) {
    std::size_t updates = 0;
    Seconds time(0.0);
    for (std::size_t bar = bars.BarCount(); bar-- > 0 && (updates == 0 || time.count() < seconds);) {
        const auto path = TicksOf(bars, bar, ticks);
        const auto start = Clock::now();
        for (const auto& tick : path) {
            bars.Replace(bar, tick);
            study.Reset();
            for (std::size_t next = bar + 1 - std::min(bar + 1, lookback); next <= bar; ++next) study.Step(next);
        }
        time += Clock::now() - start;
        updates += path.size();
    }
    return UpdatesASecond(updates, time);
}

}  // namespace

std::vector<std::vector<double>> TicksOf(const BarFile& bars, std::size_t bar, std::size_t ticks) {
    std::vector<double> whole;
    for (std::size_t column = 0; column < bars.Columns().size(); ++column) whole.push_back(bars.Value(column, bar));
    std::vector<std::vector<double>> path(ticks, whole);

    const auto closeColumn = bars.FindColumn("close"), highColumn = bars.FindColumn("high"),
               lowColumn = bars.FindColumn("low"), openColumn = bars.FindColumn("open");
    const auto valueOr = [&](std::optional<std::size_t> column, std::size_t at, double other) {
        return column && !IsUndefined(bars.Value(*column, at)) ? bars.Value(*column, at) : other;
    };
    const double close = valueOr(closeColumn, bar, UndefinedValue);
    if (IsUndefined(close)) return path;  // a gap stays one
    const double open = valueOr(openColumn, bar, bar > 0 ? valueOr(closeColumn, bar - 1, close) : close);
    const double high = valueOr(highColumn, bar, std::max(open, close));
    const double low = valueOr(lowColumn, bar, std::min(open, close));
    const bool rises = close >= open;
    const double turns[] = {open, rises ? low : high, rises ? high : low, close};

    double highest = open, lowest = open;
    for (std::size_t i = 0; i + 1 < ticks; ++i) {
        const double way = 3.0 * static_cast<double>(i) / static_cast<double>(ticks - 1);
        const auto leg = static_cast<std::size_t>(way);
        const double price = std::lerp(turns[leg], turns[leg + 1], way - static_cast<double>(leg));
        highest = std::max(highest, price);
        lowest = std::min(lowest, price);
        const auto set = [&](std::optional<std::size_t> column, double value) {
            if (column && !IsUndefined(whole[*column])) path[i][*column] = value;
        };
        set(highColumn, highest);
        set(lowColumn, lowest);
        set(closeColumn, price);
    }
    return path;
}

ReplayResult Replay(const Library& library, const BarFile& bars, const std::string& expression,
                    const RunSettings& settings, std::size_t ticks, double seconds) {
    const std::vector<double> expected = RunValues(library, bars, expression, settings);
    BarFile ticking = bars;
    Study study(library, ticking, settings);
    study.Add(expression, true);
    ReplayResult result;
    result.withoutSnapshots = study.WithoutSnapshots();
    result.lookback = std::clamp<std::size_t>(study.Lookback(), 1, std::max<std::size_t>(bars.BarCount(), 1));

    Seconds time(0.0);
    Progress progress("replaying " + expression, static_cast<double>(bars.BarCount()));
    study.Reset();
    for (std::size_t bar = 0; bar < bars.BarCount(); ++bar) {
        const auto path = TicksOf(bars, bar, ticks);
        const auto start = Clock::now();
        study.Save(1);
        for (const auto& tick : path) {
            ticking.Replace(bar, tick);
            study.Restore(1);
            study.Step(bar);
        }
        time += Clock::now() - start;
        result.updates += path.size();
        Compare(study, bars, bar, &expected[bar * study.Results().size()], result);
        progress.Update(static_cast<double>(bar));
    }
    result.updatesPerSecond = UpdatesASecond(result.updates, time);
    result.recalculationsPerSecond = RecalculationsASecond(study, ticking, result.lookback, ticks, seconds);
    return result;
}

std::string ReplayText(const std::string& expression, const BarFile& bars, const ReplayResult& result) {
    std::string text = fmt::format("{}\n", expression);
    if (result.differingBars == 0)
        text += fmt::format("  {} bars, {} of them with values, equal those of a run, bit for bit\n", bars.BarCount(),
                            result.barsWithValues);
    else
        text += fmt::format("  {} of {} bars differ from those of a run, first on {}\n", result.differingBars,
                            bars.BarCount(), result.firstDifference);
    if (!result.withoutSnapshots.empty())
        text +=
            fmt::format("  {} keeps no snapshots, it only takes its last bar back: its sums are rounded on each tick, "
                        "and what a full window dropped does not come back\n",
                        fmt::join(result.withoutSnapshots, ", "));
    text += fmt::format("  {} updates: {:.0f} a second from a snapshot, {:.0f} a second from the last {} bars\n",
                        result.updates, result.updatesPerSecond, result.recalculationsPerSecond, result.lookback);
    return text;
}

}  // namespace sarvane::study
