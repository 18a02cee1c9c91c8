#pragma once

#include "verify/comparison.h"

#include <optional>
#include <string>
#include <vector>

namespace sarvane::study {

// Why another program has other numbers, as far as the usual reasons tell it.
struct Explanation {
    std::vector<std::string> reasons;  // in words; none where the columns agree as they stand
    Agreement agreement;               // once the reasons are taken into account
    bool isPrintedRounding = false;    // one of the reasons is that the other program's numbers have few decimals
};

// Runs the last of `expressions` over `bars` in all the ways in which programs usually differ, one at a time and then two
// at a time, and gives those with which every compared value agrees. The printed digits of the other program, or its
// single precision, are allowed for. Gives nothing if no way explains the difference. More than one entry: each of them
// explains it.
std::vector<Explanation> FindReasons(const Library& library, const BarTable& bars,
                                     const std::vector<std::string>& expressions, const RunSettings& settings,
                                     const OtherColumn& other, const Tolerance& tolerance);

}  // namespace sarvane::study
