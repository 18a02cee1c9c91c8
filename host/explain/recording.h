#pragma once

#include "bars/bar_file.h"
#include "library.h"
#include "study.h"

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace sarvane::study {

// All values of a run: those of the columns, and those of each node of the expressions. It is looked at on one bar at a
// time, as if the run had ended there.
class Recording {
public:
    // Runs the expressions over the bars from the first one to `lastBar`, and shows that one.
    Recording(const Library& library, const BarFile& bars, const std::vector<std::string>& expressions,
              const RunSettings& settings, std::size_t lastBar);

    const Library& Operators() const { return library; }
    const Compilation& Compiled() const { return compiler.Compiled(); }
    // The bar that is looked at; an earlier one with `Show`.
    std::size_t LastBar() const { return lastBar; }
    void Show(std::size_t bar) { lastBar = bar; }
    std::string Date(std::size_t bar) const { return std::string(bars.Date(bar)); }
    // Bar by bar, up to the one that is looked at.
    std::span<const double> Values(Place place) const { return std::span(values[place]).first(lastBar + 1); }
    double Value(Place place) const { return values[place][lastBar]; }
    // Of all bars of the run.
    const std::vector<double>& AllValues(Place place) const { return values[place]; }
    // The same number on all bars of the run.
    const std::vector<double>& Constant(double number) const;
    // What steps of formulas gave on all bars, by the texts of the step and those ahead: the next bar may use it again.
    std::map<std::string, std::vector<double>>& Worked() const { return worked; }

private:
    const Library& library;
    const BarFile& bars;
    Compiler compiler;
    std::size_t lastBar;
    std::vector<std::vector<double>> values;  // by place
    mutable std::map<std::uint64_t, std::vector<double>> constants;  // by their bits
    mutable std::map<std::string, std::vector<double>> worked;
};

}  // namespace sarvane::study
