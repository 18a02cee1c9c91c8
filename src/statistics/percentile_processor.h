#pragma once

#include "frame/plain_ring.h"
#include "sarvane/values.h"
#include "statistics/value_counts.h"

#include <vector>

namespace sarvane {

// The part of a processor that is saved: the values of its window, in order of arrival and in ascending order.
struct PercentileSnapshot {
    PlainRing arrivals;
    ValueCounts ordered;
};

// Percentiles of the last `windowSize` values. A percentile is a fraction from 0.0, the lowest value, to 1.0, the
// highest; where it falls between two values they are blended or the nearer one is taken. While fewer than `minCount`
// values have come, there are no results.
class PercentileProcessor {
public:
    // A percentile behind those there are, and its id, counting from 0. UndefinedValue makes one that is off.
    int AddPercentile(double fraction);
    void SetPercentile(int id, double fraction);
    double GetPercentile(int id) const { return IsKnown(id) ? At(id).fraction : UndefinedValue; }

    void SetInterpolate(bool blend);
    bool GetInterpolate() const { return interpolate; }
    void SetMinCount(uint values);
    // Starts with an empty window. Results stay until the next value.
    void SetWindowSize(uint values);
    uint GetWindowSize() const { return windowSize; }

    // Takes in a finite value, and passes over any other. Gives the number of values in the window.
    uint AddValue(double value);
    double GetResult(int id) const { return IsKnown(id) ? At(id).result : UndefinedValue; }
    void Reset();

    const PercentileSnapshot& GetSnapshot() const { return live; }
    // Of a snapshot with more values than fit, the newest stay.
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
