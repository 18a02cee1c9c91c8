#pragma once

#include "bars/bar_file.h"
#include "compilation.h"

#include <optional>

namespace sarvane::study {

// The first bar of the longer bar that still forms, or of the earliest one of several: from there on values that are made of
// longer bars may become others. Nothing for values without one.
std::optional<std::size_t> FormingFrom(const BarFile& bars, const std::vector<FrameReach>& frames);

}  // namespace sarvane::study
