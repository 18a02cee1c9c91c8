#pragma once

#include "frame/ordered_window.h"
#include "sarvane/values.h"

#include <vector>

namespace sarvane {

// What a snapshot saves of a processor.
struct PercentileSnapshot {
    HistoryRing arrivals;                                     // the window, oldest value first
    OrderedWindow::Version version = OrderedWindow::Unknown;  // of `arrivals`
    // 0.0 and -0.0 are equal: the one that came when the window had neither stands for both, even once it has left.
    int zeros = 0;
    double zero = 0.0;
};

// Keeps percentiles of the last `windowSize` values. A percentile is given as a fraction: 0.0 is the lowest value, 1.0
// the highest. If it falls between two values, the result is a blend of them or the nearer one. All results are
// undefined while there are fewer than `minCount` values.
class PercentileProcessor {
public:
    // Adds a percentile and gives its id: 0 for the first, then 1 and on. A fraction of UndefinedValue adds one without
    // results.
    int AddPercentile(double fraction);
    void SetPercentile(int id, double fraction);
    double GetPercentile(int id) const { return IsKnown(id) ? At(id).fraction : UndefinedValue; }

    void SetInterpolate(bool blend);
    bool GetInterpolate() const { return interpolate; }
    void SetMinCount(uint values);
    // Empties the window. Results stay as they are until the next value.
    void SetWindowSize(uint values);
    uint GetWindowSize() const { return windowSize; }

    // Adds a value to the window, unless it is UndefinedValue, a NaN or infinite. Gives the number of values in the
    // window.
    uint AddValue(double value);
    double GetResult(int id);
    void Reset();

    const PercentileSnapshot& GetSnapshot() const { return live; }
    // If the snapshot has more than `windowSize` values, the newest ones are kept.
    void RestoreSnapshot(const PercentileSnapshot& snapshot);

private:
    struct Percentile {
        double fraction;
        double result = UndefinedValue;
    };

    bool IsKnown(int id) const { return id >= 0 && static_cast<std::size_t>(id) < percentiles.size(); }
    const Percentile& At(int id) const { return percentiles[static_cast<std::size_t>(id)]; }
    uint Size() const { return static_cast<uint>(live.arrivals.Size()); }
    bool HasResults() const { return Size() >= minCount && Size() > 0; }
    double ValueAt(uint rank) const;
    double ResultFor(double fraction) const;
    void WorkOutResults();
    void BringUpToDate();
    double DropOldest();
    void ClearWindow();

    uint windowSize = 100;
    uint minCount = 100;
    bool interpolate = true;
    std::vector<Percentile> percentiles;
    bool isUpToDate = true;  // the results are those of the window
    PercentileSnapshot live;
    OrderedWindow ordered;  // the values of `live`; those of an earlier window between a restore and the next value
};

}  // namespace sarvane
