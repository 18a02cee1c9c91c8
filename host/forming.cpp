#include "forming.h"

#include "bars/bar_maker.h"

#include <algorithm>

namespace sarvane::study {
namespace {

std::size_t FirstOfLast(const BarFile& bars, const std::shared_ptr<const Frame>& frame) {
    std::size_t first = bars.BarCount() - 1;
    if (frame->Kind() == FrameKind::Time) {
        const std::int64_t begin = frame->Around(bars.Time(first).second.time_since_epoch().count()).begin;
        while (first > 0 && bars.Time(first - 1).second.time_since_epoch().count() >= begin) --first;
        return first;
    }
    // The others depend on all bars before.
    BarMaker made(bars.Header(), {frame, false}, false);
    made.TakeAll(bars, bars.BarCount());
    return made.BarCount() > 0 ? made.FirstRow(made.BarCount() - 1) : first;
}

}  // namespace

std::optional<std::size_t> FormingFrom(const BarFile& bars, const std::vector<FrameReach>& frames) {
    std::optional<std::size_t> first;
    for (const FrameReach& reach : frames) {
        if (!reach.isForming || bars.BarCount() == 0) continue;
        if (reach.made->Kind() == FrameKind::Time && !bars.HasTimes()) continue;
        first = std::min(first.value_or(bars.BarCount()), FirstOfLast(bars, reach.made));
    }
    return first;
}

}  // namespace sarvane::study
