#pragma once

#include <string_view>

namespace sarvane::study {

// The text of studies/standard.study, which is built in.
extern const std::string_view StandardStudies;

}  // namespace sarvane::study
