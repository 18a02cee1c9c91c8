#pragma once

#include "bars/bar_file.h"
#include "study.h"

#include <string>
#include <vector>

namespace sarvane::study {

// A series of bars as columns of numbers that can be changed, and run as a whole.
struct BarTable {
    std::vector<std::string> columns;
    std::vector<std::vector<double>> values;  // by column
    std::vector<BarTime> times;

    explicit BarTable(const BarFile& bars);

    std::size_t BarCount() const { return times.size(); }
    // The column with this name, in any letter case; null if there is none.
    std::vector<double>* Find(std::string_view name);
    // Leaves out all bars that `isKept` does not keep.
    template <class Predicate>
    void Keep(Predicate isKept) {
        std::size_t kept = 0;
        for (std::size_t bar = 0; bar < times.size(); ++bar) {
            if (!isKept(bar)) continue;
            for (std::vector<double>& column : values) column[kept] = column[bar];
            times[kept++] = times[bar];
        }
        for (std::vector<double>& column : values) column.resize(kept);
        times.resize(kept);
    }
};

// What expressions give over all bars of a table.
struct ResultTable {
    std::vector<ResultColumn> columns;
    std::vector<std::vector<double>> values;  // by column
    std::size_t lookback = 0;                 // bars, through the longest chain of operators
};

// Runs the expressions that have been compiled over the columns of `bars`.
ResultTable RunTable(Compilation& compiled, const BarTable& bars, const RunSettings& settings);
// Compiles and runs them. Fails with the place of what is wrong with an expression.
ResultTable RunTable(const Library& library, const BarTable& bars, const std::vector<std::string>& expressions,
                     const RunSettings& settings, bool allOutputs = false);

}  // namespace sarvane::study
