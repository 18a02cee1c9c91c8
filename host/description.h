#pragma once

#include "library.h"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
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

// What an operator says of itself once it has its arguments.
struct Description {
    std::string formula;
    std::vector<InputDescription> inputs;
    std::vector<OutputDescription> outputs;
    std::vector<std::string> parameters;
    unsigned lookback = 0;
    bool operator==(const Description&) const = default;
};

Description Describe(const Library& library, IZelmorOp& op);

// "line", "step", "band", "histogram" or "marker".
std::string_view DrawingName(DrawnAs drawing);

// What stands for an argument that is left out: its default, or "needed" or "none".
std::string ArgumentDefault(const ArgumentInfo& argument);

// The commands `list` and `describe`. `arguments` are those from argument 1 on.
std::string ListText(const Library& library);
nlohmann::json ListJson(const Library& library);
std::string DescribeText(const Library& library, std::string_view keyword, const std::vector<std::string>& arguments,
                         const OperatorSettings& settings = {});
// The arguments of a class as a table for documents.
std::string DescribeMarkdown(const OperatorClass& operatorClass);
nlohmann::json DescribeJson(const Library& library, std::string_view keyword, const std::vector<std::string>& arguments,
                            const OperatorSettings& settings = {});

}  // namespace sarvane::study
