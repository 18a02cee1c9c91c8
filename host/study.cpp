#include "study.h"

#include "failure.h"

#include <algorithm>

namespace sarvane::study {
namespace {

// The shortest step between the first bars, in seconds; 0 without times.
double BarSeconds(const BarFile& bars) {
    constexpr std::size_t Sample = 500;
    double shortest = 0.0;
    for (std::size_t bar = 1; bars.HasTimes() && bar < std::min(bars.BarCount(), Sample); ++bar) {
        const double step = std::chrono::duration<double>(bars.Time(bar).second - bars.Time(bar - 1).second).count();
        if (step > 0.0 && (shortest == 0.0 || step < shortest)) shortest = step;
    }
    return shortest;
}

}  // namespace

std::string TypedText(const ResultColumn& column) {
    const std::size_t suffix = column.output.empty() ? 0 : column.output.size() + 1;
    return column.title.substr(0, column.title.size() - suffix);
}

std::vector<bool> WantedBy(const Library& library, const std::vector<std::string>& titles,
                           const std::vector<std::string>& expressions, const OperatorSettings& settings) {
    Compiler compiler(library.Studies(), titles);
    for (const std::string& expression : expressions) {
        if (const auto problem = compiler.Add(expression, {settings, true})) FailWith(*problem, expression);
    }
    std::vector<bool> wanted(titles.size(), false);
    for (const std::size_t used : compiler.Compiled().UsedColumns()) wanted[used] = true;
    return wanted;
}

Study::Study(const Library& library, const BarFile& file, RunSettings how)
    : bars(file), barSeconds(BarSeconds(file)), settings(how), compiler(library.Studies(), file.Columns()),
      row(file.Columns().size(), UndefinedValue) {}

void Study::Add(const std::string& expression, bool allOutputs) {
    const auto problem = compiler.Add(expression, {settings.operators, allOutputs, barSeconds});
    // New nodes may have moved all values, even where the expression could not be compiled.
    const Compilation& compiled = compiler.Compiled();
    results.clear();
    for (const ResultColumn& column : compiled.results) {
        results.push_back({column, compiled.graph.Values() + column.place});
    }
    if (problem) FailWith(*problem, expression);
}

std::vector<std::string> Study::Warnings() const {
    std::vector<std::string> lines;
    for (const Problem& warning : compiler.Compiled().warnings) lines.push_back(warning.message);
    return lines;
}

std::vector<std::string> Study::EmptyColumns() const {
    std::vector<std::string> lines;
    const std::size_t count = bars.BarCount();
    for (std::size_t i = 0; i < results.size() && count > 0; ++i) {
        if (hasValue[i]) continue;
        const std::string reason =
            results[i].lookback > count
                ? fmt::format(": it needs {} bars of history, and there are {}", results[i].lookback, count)
                : std::string(" on any bar");
        lines.push_back(fmt::format("{} has no value{}", results[i].title, reason));
    }
    return lines;
}

void Study::Reset() {
    Graph& graph = compiler.Compiled().graph;
    if (settings.priceStep) graph.SetPriceStep(*settings.priceStep);
    const int lastBar = settings.live ? 0 : static_cast<int>(bars.BarCount()) - 1;
    if (FAILED(Checked(graph.Reset({lastBar, settings.hold})))) Fail("an operator can't start");
    hasValue.assign(results.size(), false);
}

void Study::Step(std::size_t bar) {
    for (std::size_t column = 0; column < row.size(); ++column) row[column] = bars.Value(column, bar);
    const HRESULT status = compiler.Compiled().graph.Step(row.data(), settings.live ? 0 : static_cast<int>(bar));
    if (FAILED(Checked(status))) Fail("an operator can't calculate the bar of {}", bars.Date(bar));
    for (std::size_t i = 0; i < blankUntil.size(); ++i)
        results[i].value =
            bar < blankUntil[i] ? &UndefinedValue : compiler.Compiled().graph.Values() + results[i].place;
    for (std::size_t i = 0; i < results.size(); ++i) {
        if (!IsUndefined(*results[i].value)) hasValue[i] = true;
    }
}

void Study::Save(short slot) {
    if (Checked(compiler.Compiled().graph.Save(slot)) != S_OK) Fail("an operator keeps no snapshot {}", slot);
}

void Study::Restore(short slot) {
    if (Checked(compiler.Compiled().graph.Restore(slot)) != S_OK) Fail("there is no snapshot {}", slot);
}

}  // namespace sarvane::study
