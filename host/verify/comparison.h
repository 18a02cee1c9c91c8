#pragma once

#include "bar_table.h"

#include <span>
#include <string>
#include <utility>
#include <vector>

namespace sarvane::study {

// A column of another program, by time.
struct OtherColumn {
    std::string name;  // such as "export.csv:sma"
    std::vector<BarTime> times;
    std::vector<std::string> dates;  // as the file has them
    std::vector<double> values;

    // Decimals of the number that has most of them, written as shortly as can be.
    int Decimals() const;
};

// Reads column COLUMN of a file from "FILE:COLUMN", or the only one of "FILE". Fails if the file has no times.
OtherColumn ReadOtherColumn(const std::string& place, const ReadSettings& settings);

// Bars of the same time in two series, as places in the first and in the second one, rising.
using CommonBars = std::vector<std::pair<std::size_t, std::size_t>>;
CommonBars FindCommonBars(std::span<const BarTime> first, std::span<const BarTime> second);

// How far two numbers may lie apart and still agree: so much of the greater one (or of a usual one, if that is greater),
// and so much besides.
struct Tolerance {
    double relative = 1e-9;
    double absolute = 0.0;
};

// The significant digits to which two numbers agree, AllDigits if they are equal. `usual` is a usual size of such numbers:
// near zero it counts in the place of theirs. A gap agrees with a gap only.
inline constexpr int AllDigits = 16;
int DigitsAgreeing(double a, double b, double usual);
// The median size of the values that are there.
double UsualSize(std::span<const double> values);

// How two columns agree on their common bars, from the first bar on which both have a value to the last such bar.
struct Agreement {
    std::size_t compared = 0;
    std::size_t differing = 0;       // also where only one of them has a value
    std::size_t first = 0;           // common bar on which both have a value
    std::size_t firstDifferent = 0;  // common bars
    std::size_t lastDifferent = 0;
    std::size_t worst = 0;                                 // where the fewest digits agree
    int worstDigits = AllDigits, usualDigits = AllDigits;  // that agree at the worst, and at the median
    std::size_t onlyHere = 0,
                onlyThere = 0;  // values of one column ahead of the first bar with both, or behind the last

    bool IsWhole() const { return compared > 0 && differing == 0; }
};

// `values` stand on the bars of the first series of `common`. With `shift` 1 they are compared with those that the other
// program has one bar later.
Agreement Compare(const CommonBars& common, std::span<const double> values, const OtherColumn& other,
                  const Tolerance& tolerance, int shift = 0);

}  // namespace sarvane::study
