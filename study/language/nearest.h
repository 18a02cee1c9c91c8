#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sarvane::study {

// Those of the known words that look most like `word` or begin with it, at most three, the best first. Letter case does
// not matter.
std::vector<std::string> NearestWords(std::string_view word, const std::vector<std::string>& known);

}  // namespace sarvane::study
