#pragma once

#include "sarvane/chart_label.h"

namespace sarvane {

// Packs a label into the bits of an output. A label without number and text gives 0.0.
double EncodeLabel(const ChartLabel& label);

}  // namespace sarvane
