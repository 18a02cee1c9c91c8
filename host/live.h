#pragma once

#include "series.h"
#include "study.h"

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace sarvane::study {

// How often durations of each size came, in steps of an eighth.
class Durations {
public:
    void Add(std::uint64_t nanoseconds);
    // The duration that `share` of all lie at or below.
    double Quantile(double share) const;

private:
    std::array<std::uint64_t, 64 * 8> counts{};
    std::uint64_t total = 0;
};

// Expressions over bars that come line by line. A line with the time of the last bar is a tick: it changes that bar. A
// line with the time of an older bar corrects it, and one with a later time opens the next bar. The last bar's values
// are those that a run over the bars so far gives on its last bar.
//
// The state before the last bar is kept in a slot of its own, on top of snapshots that stay: slot n is the state before
// bar n * distance. A correction goes back to the last one that it leaves valid.
class Live {
public:
    using Show = std::function<void(std::size_t bar)>;

    // `show` is called for each bar whose values have changed. A snapshot stays every `distance` bars, none with 0. Once
    // these fill `slots`, two or more, every other one goes, and further ones come twice as far from each other. `times`
    // knows how dates are written if other rows have shown it.
    // `conditions` are further expressions, which are not among the results.
    Live(const Library& library, const BarHeader& header, const std::vector<std::string>& expressions, bool allOutputs,
         RunSettings settings, std::size_t distance, Show show, std::size_t slots = SeriesSettings().mostSnapshots,
         TimeReader times = {}, const std::vector<std::string>& conditions = {});

    // Gives the bar that the row is, and in `before` the values that it had if it is not new. Fails if the row can't have
    // a place in the series; that row is left out.
    std::size_t Take(const BarRow& row, std::vector<double>* before = nullptr);

    // How one series differs from the one before.
    struct Difference {
        std::size_t ticks = 0;        // 1 if the bar that was the last one has other values
        std::size_t corrections = 0;  // older bars with other values
        std::size_t newBars = 0;
        std::size_t goneBars = 0;
        std::string firstGone;                // its date
        std::optional<std::size_t> firstBar;  // that differs, or that would be where one is gone
    };
    // Goes on with another series that has the same columns. Only what comes from its first difference on is calculated.
    Difference TakeOver(BarFile series);

    const BarFile& Bars() const { return bars; }
    // What the user should know of the dates since the last call.
    std::vector<std::string> TakeNotices() { return bars.TakeNotices(); }
    const Compilation& Compiled() const { return series->Compiled(); }
    // With the values of the bar that is shown.
    const std::vector<Result>& Results() const { return results; }
    double Value(const Result& result, std::size_t bar) const;
    // Those of all results, in their order.
    Series::Row Values(std::size_t bar) const { return series->Results(bar).first(results.size()); }
    // Whether a condition is neither 0 nor missing.
    bool Holds(std::size_t condition, std::size_t bar) const;
    // Ends the run and tells in lines what it was like.
    std::string Finish();

private:
    void RecalculateFrom(std::size_t first);
    void ShowChanged();
    void ShowBar(std::size_t bar);

    BarFile bars;
    std::optional<Series> series;  // until the end. A bar's time there is its place.
    Show show;
    std::vector<Result> results;
    std::vector<double> present;  // their values
    std::size_t ticks = 0;
    std::size_t corrections = 0;
    Durations updates;  // of the last bar
};

}  // namespace sarvane::study
