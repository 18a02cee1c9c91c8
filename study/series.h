#pragma once

#include "compilation.h"

#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace sarvane::study {

struct SeriesSettings {
    std::size_t snapshotDistance = 1000;  // bars between snapshots that stay; none stays with 0
    std::size_t mostSnapshots = std::numeric_limits<short>::max() - 1;  // at least 2
    bool holdsInputs = false;                                           // bar arithmetic repeats a missing input
    std::optional<double> priceStep = {};                               // for operators that round to it
};

// Expressions over bars that come one by one: a new bar is appended, the last one changes with each tick, and an older
// one is corrected. The results of all bars are kept, and are those of a run over the bars as they are.
//
// A tick goes back to the snapshot before the last bar. A correction goes back to the nearest snapshot that stays, and
// calculates all bars from there on. Snapshots stay every `snapshotDistance` bars; once there are `mostSnapshots` of
// them, every other one goes, and further ones come twice as far apart. With an operator that keeps no snapshots a
// correction starts at the first bar.
//
// Calls that change bars answer a status: S_OK; E_INVALIDARG where nothing was done; E_OUTOFMEMORY, after which the bars
// have been changed but some results are not there, until another such call succeeds. An operator's own failure is handed
// on and has the same effect.
class Series {
public:
    // A row holds a value for each column of the data.
    using Row = std::span<const double>;

    // The series has no bars yet.
    Series(std::unique_ptr<Compilation> compiled, const SeriesSettings& settings);

    // A bar behind all others, with a later time than theirs. The unit of time is the host's.
    HRESULT Append(std::int64_t time, Row row);
    HRESULT ChangeLast(Row row);
    HRESULT Correct(std::size_t bar, Row row);
    // Puts other bars, or none, in the place of those from bar `first` on: a time and a row for each, row behind row.
    HRESULT Rewrite(std::size_t first, std::span<const std::int64_t> newTimes, Row rows);

    std::size_t BarCount() const { return times.size(); }
    std::int64_t Time(std::size_t bar) const { return times[bar]; }
    // The bar with this time, or BarCount() if there is none.
    std::size_t Find(std::int64_t time) const;
    // The values of the columns that expressions read, in the order of Compilation::UsedColumns.
    Row Values(std::size_t bar) const { return Row(values).subspan(bar * used.size(), used.size()); }
    // The values of all results, in the order of Compilation::results. Not for a bar from CalculatedCount() on.
    Row Results(std::size_t bar) const { return Row(results).subspan(bar * width, width); }
    // Bars whose results are there: all of them, unless the last call failed.
    std::size_t CalculatedCount() const { return calculated; }
    // The bars that got other results by the last call, rising. A new bar is one of them.
    std::span<const std::size_t> Changed() const { return changed; }

    const Compilation& Compiled() const { return *compilation; }
    // As they were given, but for the distance, which doubles when snapshots are thinned out.
    const SeriesSettings& Settings() const { return settings; }
    std::size_t SnapshotCount() const { return kept; }
    // Of the bars and results. What operators keep, for themselves and in snapshots, is not counted.
    std::size_t Bytes() const;

private:
    static constexpr std::size_t NoBar = static_cast<std::size_t>(-1);

    HRESULT CalculateFrom(std::size_t bar);
    HRESULT GoBackTo(std::size_t bar);
    HRESULT Start();
    HRESULT SaveBefore(std::size_t bar);
    HRESULT MakeRoom(std::size_t bar);
    HRESULT Step(std::size_t bar);
    HRESULT Keep(std::size_t bar);
    void Store(std::size_t bar, Row given);
    short TopSlot() const { return static_cast<short>(kept + 1); }

    std::unique_ptr<Compilation> compilation;
    SeriesSettings settings;
    std::vector<std::size_t> used;  // columns that expressions read
    std::size_t width;              // number of results
    std::vector<double> row;        // of the bar that is stepped, a value for each column of the data

    std::vector<std::int64_t> times;  // by bar
    std::vector<double> values;       // of the used columns, bar behind bar
    std::vector<double> results;      // bar behind bar
    std::vector<std::size_t> changed;
    std::size_t calculated = 0;

    // Slot n holds the state before bar n * distance, for n up to `kept`. The slot above, the top one, follows the bars.
    std::size_t kept = 0;
    std::size_t position = NoBar;  // the bar that the running state takes in next, if it is known
    std::size_t top = NoBar;       // the bar that the top slot is the state before
};

}  // namespace sarvane::study
