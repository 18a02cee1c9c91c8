#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// How sources of prices call the columns of a bar.
namespace sarvane::study {

// The name that a column with this title has in expressions, such as "close" for "<CLOSE>", "c" and "Schluss"; empty if it is
// none of those of a bar.
std::string_view StandardName(std::string_view title);

// How well a title says its standard name: of two columns with one name, that with the lower rank has it.
std::size_t RankOfTitle(std::string_view title);

// Whether its standard name is open, high, low or close.
bool IsPrice(std::string_view title);

std::string LowerCase(std::string_view text);
// Without letter case, angle brackets, a number in front such as that of "1. open", and a point behind.
std::string SimplifiedTitle(std::string_view title);

}  // namespace sarvane::study
