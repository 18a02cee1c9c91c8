#pragma once

#include "bar_table.h"

#include <optional>
#include <string>
#include <vector>

namespace sarvane::study {

// How many bars after the start of the data each result depends on where they start: from then on a run that begins
// there agrees to so many digits with one that begins earlier. Found out by runs from several bars on. Nothing for a
// result that is still different on the last bar, such as a running total, or that has no values in runs over half of the bars.
std::vector<std::optional<std::size_t>> BarsUntilSettled(const Library& library, const BarTable& bars,
                                                         const std::vector<std::string>& expressions,
                                                         const RunSettings& settings, bool allOutputs, int digits);

// What the user should know of values from bar `firstShown` on whose first digits depend on the start, in a few lines.
std::vector<StartNotice> UnsettledNotices(const Library& library, const BarFile& bars,
                                          const std::vector<std::string>& expressions, const RunSettings& settings,
                                          bool allOutputs, std::size_t firstShown);

// How much the values of `bar` depend on where the data start: runs from 1/4 to 4 times the lookback ahead of it, and the
// bars after which 2 to 12 digits are settled.
std::string WarmUpText(const Library& library, const BarFile& bars, const std::vector<std::string>& expressions,
                       const RunSettings& settings, std::size_t bar);

}  // namespace sarvane::study
