#pragma once

#include "library.h"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace sarvane::study {

// The command `studies`. The markdown is that of docs/studies.md.
std::string StudiesText(const Library& library);
nlohmann::json StudiesJson(const Library& library);
std::string StudiesMarkdown(const Library& library);

// The command `describe` for a study. `arguments` are those for the parameters that have a default.
std::string DescribeText(const Library& library, const Definition& study, const std::vector<std::string>& arguments,
                         const OperatorSettings& settings = {});
nlohmann::json DescribeJson(const Library& library, const Definition& study, const std::vector<std::string>& arguments,
                            const OperatorSettings& settings = {});
std::string DescribeMarkdown(const Definition& study);

}  // namespace sarvane::study
