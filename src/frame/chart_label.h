#pragma once

#include "sarvane/chart_label.h"

namespace sarvane {

// Packs a label into the 8 bytes of an output, in the format of sarvane/chart_label.h. A label that has neither a
// number nor a text gives 0.0.
double EncodeLabel(const ChartLabel& label);

}  // namespace sarvane
