#include "statistics/percentile_processor.h"

#include "frame/numbers.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace sarvane {
namespace {

double ClampedFraction(double fraction) { return fraction < 0.0 ? 0.0 : Lesser(fraction, 1.0); }

}  // namespace

int PercentileProcessor::AddPercentile(double fraction) {
    BringUpToDate();
    const double clamped = IsUndefined(fraction) ? fraction : ClampedFraction(fraction);
    percentiles.push_back({clamped, ResultFor(clamped)});
    return static_cast<int>(percentiles.size()) - 1;
}

void PercentileProcessor::SetPercentile(int id, double fraction) {
    if (!IsKnown(id)) return;
    BringUpToDate();
    Percentile& percentile = percentiles[static_cast<std::size_t>(id)];
    percentile.fraction = ClampedFraction(fraction);
    if (HasResults()) percentile.result = ResultFor(percentile.fraction);
}

void PercentileProcessor::SetInterpolate(bool blend) {
    BringUpToDate();
    interpolate = blend;
    if (HasResults()) WorkOutResults();
}

void PercentileProcessor::SetMinCount(uint values) {
    BringUpToDate();
    minCount = std::min(windowSize, values);
}

// A processor that gives results only with a full window (`minCount` is the window size) goes on to do so.
void PercentileProcessor::SetWindowSize(uint values) {
    if (values == 0) return;
    BringUpToDate();
    minCount = minCount == windowSize ? values : std::min(minCount, values);
    windowSize = values;
    ClearWindow();
}

// The new value is counted before the oldest one is dropped, so that a zero that takes the place of another one goes on
// to show as that one.
uint PercentileProcessor::AddValue(double value) {
    if (IsUndefined(value) || !std::isfinite(value)) return Size();
    if (value == 0.0 && live.zeros++ == 0) live.zero = value;
    std::optional<double> dropped;
    if (Size() == windowSize) dropped = DropOldest();
    live.arrivals.Push(value);
    live.version = ordered.Follow(live.version, live.arrivals, live.arrivals.Size(), dropped);
    isUpToDate = false;
    return Size();
}

double PercentileProcessor::GetResult(int id) {
    BringUpToDate();
    return IsKnown(id) ? At(id).result : UndefinedValue;
}

void PercentileProcessor::Reset() {
    ClearWindow();
    WorkOutResults();
    isUpToDate = true;
}

void PercentileProcessor::RestoreSnapshot(const PercentileSnapshot& snapshot) {
    live = snapshot;
    if (Size() > windowSize) live.version = OrderedWindow::Unknown;
    while (Size() > windowSize) DropOldest();
    isUpToDate = false;
}

double PercentileProcessor::ValueAt(uint rank) const {
    const double value = ordered[static_cast<int>(rank)];
    return value == 0.0 ? live.zero : value;
}

// The position of the percentile in the ordered window is (n - 1) * fraction, counted from 0. Its whole part is a rank,
// and the rest is the weight of the next higher value.
double PercentileProcessor::ResultFor(double fraction) const {
    if (!HasResults() || IsUndefined(fraction)) return UndefinedValue;
    const double position = (Size() - 1) * fraction;
    const auto rank = static_cast<uint>(position);
    const double highWeight = position - rank;
    const double lowWeight = 1.0 - highWeight;
    const double low = ValueAt(rank);
    if (highWeight == 0.0) return low;
    const double high = ValueAt(rank + 1);
    if (low == high) return low;
    if (interpolate) return low * lowWeight + high * highWeight;
    return lowWeight > highWeight ? low : high;
}

void PercentileProcessor::WorkOutResults() {
    for (Percentile& percentile : percentiles) percentile.result = ResultFor(percentile.fraction);
}

// Results are worked out when they are asked for, since a bar that follows a restore makes those of the snapshot void.
void PercentileProcessor::BringUpToDate() {
    if (isUpToDate) return;
    live.version = ordered.Order(live.version, live.arrivals);
    WorkOutResults();
    isUpToDate = true;
}

double PercentileProcessor::DropOldest() {
    const double oldest = live.arrivals[0];
    if (oldest == 0.0) --live.zeros;
    live.arrivals.PopFront();
    return oldest;
}

void PercentileProcessor::ClearWindow() {
    live.arrivals.Clear();
    live.version = OrderedWindow::Unknown;
    live.zeros = 0;
}

}  // namespace sarvane
