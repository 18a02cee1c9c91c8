#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// How sources of prices call the columns of a bar.
namespace sarvane::study {

// The name that a column with this title has in expressions, such as "close" for "<CLOSE>", "c" and "Schluss"; empty if it is
// none of those of a bar.
std::string_view StandardName(std::string_view title);

// How well a title says its standard name: of two columns with one name, that with the lower rank has it.
std::size_t RankOfTitle(std::string_view title);

// Whether its standard name is open, high, low or close.
bool IsPrice(std::string_view title);

// `wanted` with the columns besides that have one of these standard names and hold numbers, or are to hold prices.
std::vector<bool> WithColumns(std::span<const std::string_view> standardNames, const std::vector<std::string>& titles,
                              const std::vector<bool>& hasNumbers, std::vector<bool> wanted);

std::string LowerCase(std::string_view text);
// Without letter case, angle brackets, a number in front such as that of "1. open", and a point behind.
std::string SimplifiedTitle(std::string_view title);

}  // namespace sarvane::study
