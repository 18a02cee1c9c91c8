#pragma once

#include "series.h"

#include <memory>
#include <string>
#include <string_view>

namespace sarvane::study {

// A series as bytes that are the same on every system: its expressions and settings, and its bars. All bars are there,
// from the first one on, since averages and running sums depend on each of them to the last bit. The studies that
// expressions use are not: the library that reads the bytes must define them as the writing one did.
std::string WrittenSeries(const Series& series);

// The series that was written. It calculates all bars and is refused if its results are not, bit for bit, those of the
// series that was written; any NaN equals any other. Bytes that are damaged, cut off or no series at all are a problem,
// too.
Outcome<std::unique_ptr<Series>> ReadSeries(const std::shared_ptr<const StudyLibrary>& library, std::string_view bytes);

}  // namespace sarvane::study
