#pragma once

#include "library.h"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace sarvane::study {

// Which argument of the expression feeds an input, and which field of its bar: "open", "high", "low", "close", or
// nothing for a plain value.
struct InputDescription {
    int argument = 0;
    std::string field;
    bool operator==(const InputDescription&) const = default;
};

struct OutputDescription {
    std::string name;
    int kind = 0;
    bool operator==(const OutputDescription&) const = default;
};

// What an operator says of itself.
struct Description {
    std::string formula;
    std::vector<InputDescription> inputs;
    std::vector<OutputDescription> outputs;
    std::vector<std::string> parameters;
    unsigned lookback = 0;
    bool operator==(const Description&) const = default;
};

Description Describe(const Library& library, IZelmorOp& op);

// Whether the operator reads the last of `arguments`, which are those from argument 1 on; empty ones are left out. An
// operator does not tell how many it reads, and ignores any others.
bool TakesLast(const Library& library, const OperatorClass& operatorClass, const std::vector<std::string>& arguments,
               const OperatorSettings& settings);

// The commands `list` and `describe`. `arguments` are those from argument 1 on.
std::string ListText(const Library& library);
nlohmann::json ListJson(const Library& library);
std::string DescribeText(const Library& library, std::string_view keyword, const std::vector<std::string>& arguments,
                         const OperatorSettings& settings = {});
nlohmann::json DescribeJson(const Library& library, std::string_view keyword, const std::vector<std::string>& arguments,
                            const OperatorSettings& settings = {});

}  // namespace sarvane::study
