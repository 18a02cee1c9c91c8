#pragma once

#include <string_view>

namespace sarvane::study {

// The page of a chart with "@data@" in the place of what it shows. Empty if the program was built without it.
std::string_view ChartTemplate();

}  // namespace sarvane::study
