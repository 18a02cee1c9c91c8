#pragma once

#include "study.h"

#include <string>
#include <vector>

namespace sarvane::study {

struct ReplayResult {
    std::size_t updates = 0;
    double updatesPerSecond = 0.0;
    std::size_t lookback = 0;              // bars that the other way calculates on each update
    double recalculationsPerSecond = 0.0;  // by that way
    std::size_t barsWithValues = 0;        // in some output of the run
    std::size_t differingBars = 0;
    std::string firstDifference;  // in words
    std::vector<std::string> withoutSnapshots;
};

// The values of `bar` after each of `ticks` ticks, in which its price goes from the open over high and low to the
// close. The last tick is the bar itself.
std::vector<std::vector<double>> TicksOf(const BarFile& bars, std::size_t bar, std::size_t ticks);

// Feeds each bar as ticks and compares all outputs after the last one, bit by bit, with those of a plain run. The time
// of a recalculation on each tick is taken over as many bars from the last one on as fit into `seconds`.
ReplayResult Replay(const Library& library, const BarFile& bars, const std::string& expression,
                    const RunSettings& settings, std::size_t ticks, double seconds = 0.25);

std::string ReplayText(const std::string& expression, const BarFile& bars, const ReplayResult& result);

}  // namespace sarvane::study
