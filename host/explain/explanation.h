#pragma once

#include "explain/recording.h"

#include <nlohmann/json.hpp>
#include <string>

namespace sarvane::study {

// The values of all results on the last bar of a recording, taken apart: for each part of the expressions what it reads,
// its settings, the formula with the numbers filled in, the bars that it used, and its value. A formula is there only if
// it gives the value.
nlohmann::ordered_json ExplanationJson(const Recording& recording);

// The same for people.
std::string ExplanationText(const nlohmann::ordered_json& explanation);

}  // namespace sarvane::study
