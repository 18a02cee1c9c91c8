#pragma once

#include "study.h"

#include <string>
#include <vector>

namespace sarvane::study {

// A bar whose value was another one when a later bar had come.
struct Repaint {
    std::size_t bar;
    std::size_t barsLater;  // 1 if the very next bar changed it
    double before, after;
};

// What one result of a run showed bar by bar.
struct RepaintResult {
    ResultColumn column;
    std::vector<Repaint> repaints = {};  // by the bar that changed them, each change once
    std::size_t tickBars = 0;            // bars on which a tick showed a label or a vote that their end did not have
    std::size_t firstTickBar = 0;
};

// Shows the series as it grows: for each bar, all values so far as a chart had them when this bar was the last one, and
// what differs from those of the bar before.
std::vector<RepaintResult> FindRepaints(const Library& library, const BarFile& bars,
                                        const std::vector<std::string>& expressions, const RunSettings& settings);

std::string RepaintText(const RepaintResult& result, const BarFile& bars);

}  // namespace sarvane::study
