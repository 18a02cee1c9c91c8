#pragma once

#include "bars/bar_file.h"
#include "library.h"
#include "study.h"

#include <optional>
#include <string>
#include <vector>

namespace sarvane::study {

// All values of a run up to one bar: those of the columns, and those of each node of the expressions.
class Recording {
public:
    // Runs the expressions over the bars from the first one to `lastBar`.
    Recording(const Library& library, const BarFile& bars, const std::vector<std::string>& expressions,
              const RunSettings& settings, std::size_t lastBar);

    const Library& Operators() const { return library; }
    const Compilation& Compiled() const { return compiler.Compiled(); }
    std::size_t LastBar() const { return lastBar; }
    std::string Date(std::size_t bar) const { return std::string(bars.Date(bar)); }
    // Bar by bar.
    const std::vector<double>& Values(Place place) const { return values[place]; }
    double Value(Place place) const { return values[place][lastBar]; }

private:
    const Library& library;
    const BarFile& bars;
    Compiler compiler;
    std::size_t lastBar;
    std::vector<std::vector<double>> values;  // by place
};

}  // namespace sarvane::study
