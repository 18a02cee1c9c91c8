#pragma once

#include <optional>
#include <string>

namespace sarvane {

// A label that an operator puts on a bar, through an output named "label1" to "label6". Its payload is `number`, with
// or without a letter ahead of it, or else `text`.
struct ChartLabel {
    int curve = 0;      // which of the operator's labels, from 0
    int placement = 0;  // a small code for the host
    std::optional<int> number = {};
    std::optional<std::string> text = {};  // 8-bit characters, of which 6 are kept
    std::optional<char> prefix = {};       // a letter ahead of `number`
};

}  // namespace sarvane
