#pragma once

#include "library.h"

namespace sarvane::study {

// What this program is: version, commit, build, and how many operators and studies it knows, a line each.
std::string VersionText(const std::filesystem::path& library);

}  // namespace sarvane::study
