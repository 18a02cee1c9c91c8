#pragma once

#include "library.h"

#include <string>
#include <vector>

namespace sarvane::study {

// The command `explain`: the formula of each expression over data with these columns, and its lookback. With `plan` the
// nodes that all of them together are calculated by, in the order of calculation.
std::string ExplainText(const Library& library, const std::vector<std::string>& columns,
                        const std::vector<std::string>& expressions, const OperatorSettings& settings, bool plan);

}  // namespace sarvane::study
