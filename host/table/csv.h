#pragma once

#include <string>
#include <string_view>

namespace sarvane::study {

// Whether a text can be a cell as it stands.
bool IsPlainCell(std::string_view text);

// A text as a cell of a line, in quotes if it needs them. Control characters stay as they are, in quotes.
std::string CsvCell(std::string text);

}  // namespace sarvane::study
