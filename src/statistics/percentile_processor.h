#pragma once

#include "frame/plain_ring.h"
#include "sarvane/values.h"
#include "statistics/value_counts.h"

#include <vector>

namespace sarvane {

// What a snapshot saves of a processor: the values of its window twice, in order of arrival and in ascending order.
struct PercentileSnapshot {
    PlainRing arrivals;
    ValueCounts ordered;
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
    double GetResult(int id) const { return IsKnown(id) ? At(id).result : UndefinedValue; }
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
    bool HasResults() const { return live.ordered.Size() >= minCount && live.ordered.Size() > 0; }
    double ResultFor(double fraction) const;
    void WorkOutResults();
    void DropOldest();
    void ClearWindow();

    uint windowSize = 100;
    uint minCount = 100;
    bool interpolate = true;
    std::vector<Percentile> percentiles;
    PercentileSnapshot live;
};

}  // namespace sarvane
