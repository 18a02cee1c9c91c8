#pragma once

#include <string>

namespace sarvane::study {

// A text as a cell of a line, in quotes if it needs them. Control characters stay as they are, in quotes.
std::string CsvCell(std::string text);

}  // namespace sarvane::study
