#pragma once

#include "bars/bar_maker.h"
#include "library.h"
#include "study.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace sarvane::study {

// All values of a run: those of the columns, and those of each node of the expressions. It is looked at on one bar at a
// time, as if the run had ended there.
class Recording {
public:
    // Runs the expressions over the bars from the first one to `lastBar`, and shows that one. The bars must outlive it.
    Recording(const Library& library, const BarFile& bars, const std::vector<std::string>& expressions,
              const RunSettings& settings, std::size_t lastBar);

    const Library& Operators() const { return library; }
    std::span<const NodeText> Nodes() const { return graph->Nodes(); }
    const std::vector<std::string>& Columns() const { return bars->Columns(); }
    const std::vector<ResultColumn>& Results() const { return results; }
    // The bar that is looked at; an earlier one with `Show`.
    std::size_t LastBar() const { return lastBar; }
    void Show(std::size_t bar) { lastBar = bar; }
    std::string Date(std::size_t bar) const { return std::string(bars->Date(bar)); }
    // Bar by bar, up to the one that is looked at.
    std::span<const double> Values(Place place) const { return std::span(values[place]).first(lastBar + 1); }
    double Value(Place place) const { return values[place][lastBar]; }
    // Of all bars of the run.
    const std::vector<double>& AllValues(Place place) const { return values[place]; }
    // The same number on all bars of the run.
    const std::vector<double>& Constant(double number) const;
    // What steps of formulas gave on all bars, by the texts of the step and those ahead: the next bar may use it again.
    std::map<std::string, std::vector<double>>& Worked() const { return worked; }

    struct Longer;
    // A recording of what `at` calculates inside: over the longer bars that are made of the bars up to the one that is
    // looked at. Nothing if there is no such bar yet.
    std::optional<Longer> OverLonger(const NodeText& node) const;

private:
    Recording(const Recording& outer, const FrameText& longer, const BarMaker& made, std::size_t last);
    void Run(const RunStart& start, const std::function<std::vector<double>(std::size_t bar)>& row);

    const Library& library;
    std::shared_ptr<const BarFile> bars;
    std::shared_ptr<Compiler> compiler;  // that the graph belongs to
    Graph* graph;
    RunSettings settings;
    std::vector<ResultColumn> results;
    std::size_t lastBar;
    std::vector<std::vector<double>> values;                         // by place
    mutable std::map<std::uint64_t, std::vector<double>> constants;  // by their bits
    mutable std::map<std::string, std::vector<double>> worked;
};

struct Recording::Longer {
    Recording run;
    std::size_t firstBar;  // of those that the shown longer bar is made of
    std::size_t endBar;    // ahead of which they end
};

}  // namespace sarvane::study
