#pragma once

#include "study.h"

#include <string>
#include <vector>

namespace sarvane::study {

// Runs expressions over a file of bars, or standard input for "-", prints each change, and reports at the end on
// standard error. A line that can't be taken is told there and left out. A regular file is read to its end before its
// first bar is shown, and followed as it grows or is written anew, until a signal ends the program, unless `follow` is
// false.
void RunLive(const Library& library, const std::string& file, const std::vector<std::string>& expressions,
             bool allOutputs, const RunSettings& settings, std::size_t distance, bool follow);

}  // namespace sarvane::study
