#include "statistics/percentile_processor.h"

#include "frame/numbers.h"

#include <algorithm>
#include <cmath>

namespace sarvane {
namespace {

double ClampedFraction(double fraction) { return fraction < 0.0 ? 0.0 : Lesser(fraction, 1.0); }

}  // namespace

int PercentileProcessor::AddPercentile(double fraction) {
    const double clamped = IsUndefined(fraction) ? fraction : ClampedFraction(fraction);
    percentiles.push_back({clamped, ResultFor(clamped)});
    return static_cast<int>(percentiles.size()) - 1;
}

void PercentileProcessor::SetPercentile(int id, double fraction) {
    if (!IsKnown(id)) return;
    Percentile& percentile = percentiles[static_cast<std::size_t>(id)];
    percentile.fraction = ClampedFraction(fraction);
    if (HasResults()) percentile.result = ResultFor(percentile.fraction);
}

void PercentileProcessor::SetInterpolate(bool blend) {
    interpolate = blend;
    if (HasResults()) WorkOutResults();
}

void PercentileProcessor::SetMinCount(uint values) { minCount = std::min(windowSize, values); }

// A processor that gives results only with a full window (`minCount` is the window size) goes on to do so.
void PercentileProcessor::SetWindowSize(uint values) {
    if (values == 0) return;
    minCount = minCount == windowSize ? values : std::min(minCount, values);
    windowSize = values;
    ClearWindow();
}

// The new value is inserted before the oldest one is erased: if they are equal, say 0.0 and -0.0, the tree goes on to
// hold the older of the two. The tree's memory grows with that of the ring while the window fills, so that a bar on a
// full window allocates nothing.
uint PercentileProcessor::AddValue(double value) {
    if (IsUndefined(value) || !std::isfinite(value)) return live.ordered.Size();
    const bool full = live.ordered.Size() == windowSize;
    live.ordered.Insert(value);
    if (full) DropOldest();
    live.arrivals.Push(value);
    live.ordered.Reserve(live.arrivals.Capacity());
    WorkOutResults();
    return live.ordered.Size();
}

void PercentileProcessor::Reset() {
    ClearWindow();
    WorkOutResults();
}

void PercentileProcessor::RestoreSnapshot(const PercentileSnapshot& snapshot) {
    live = snapshot;
    while (live.ordered.Size() > windowSize) DropOldest();
    WorkOutResults();
}

// The position of the percentile in the ordered window is (n - 1) * fraction, counted from 0. Its whole part is a rank,
// and the rest is the weight of the next higher value.
double PercentileProcessor::ResultFor(double fraction) const {
    if (!HasResults() || IsUndefined(fraction)) return UndefinedValue;
    const double position = (live.ordered.Size() - 1) * fraction;
    const auto rank = static_cast<uint>(position);
    const double highWeight = position - rank;
    const double lowWeight = 1.0 - highWeight;
    const double low = live.ordered.At(rank);
    if (highWeight == 0.0) return low;
    const double high = live.ordered.At(rank + 1);
    if (low == high) return low;
    if (interpolate) return low * lowWeight + high * highWeight;
    return lowWeight > highWeight ? low : high;
}

void PercentileProcessor::WorkOutResults() {
    for (Percentile& percentile : percentiles) percentile.result = ResultFor(percentile.fraction);
}

void PercentileProcessor::DropOldest() {
    live.ordered.Erase(live.arrivals[0]);
    live.arrivals.PopFront();
}

void PercentileProcessor::ClearWindow() {
    live.arrivals.Clear();
    live.ordered.Clear();
}

}  // namespace sarvane
