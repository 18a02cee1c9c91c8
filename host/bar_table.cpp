#include "bar_table.h"

#include "columns.h"
#include "failure.h"
#include "language/parser.h"

#include <algorithm>

namespace sarvane::study {

BarTable::BarTable(const BarFile& bars) : columns(bars.Columns()), values(columns.size()) {
    for (std::size_t bar = 0; bar < bars.BarCount(); ++bar) {
        times.push_back(bars.Time(bar));
        for (std::size_t column = 0; column < columns.size(); ++column)
            values[column].push_back(bars.Value(column, bar));
    }
}

std::vector<double>* BarTable::Find(std::string_view name) {
    const auto found = std::ranges::find_if(columns, [&](const auto& known) { return EqualIgnoringCase(known, name); });
    return found == columns.end() ? nullptr : &values[static_cast<std::size_t>(found - columns.begin())];
}

ResultTable RunTable(Compilation& compiled, const BarTable& bars, const RunSettings& settings) {
    const std::size_t count = bars.BarCount();
    ResultTable results{compiled.results, {}, compiled.lookback};
    results.values.assign(compiled.results.size(), std::vector<double>(count));
    std::vector<InputColumn> inputs;
    for (const auto& column : bars.values) inputs.push_back({column.data()});
    std::vector<OutputColumn> outputs;
    for (auto& column : results.values) outputs.push_back({column.data()});
    const HRESULT status = Checked(Run(compiled, {settings.hold, settings.priceStep, false}, {inputs, count, outputs}));
    if (FAILED(status)) Fail("an operator can't calculate the bars");
    return results;
}

ResultTable RunTable(const Library& library, const BarTable& bars, const std::vector<std::string>& expressions,
                     const RunSettings& settings, bool allOutputs) {
    Compiler compiler(library.Studies(), bars.columns);
    for (const std::string& expression : expressions) {
        if (const auto problem = compiler.Add(expression, {settings.operators, allOutputs}))
            FailWith(*problem, expression);
    }
    return RunTable(compiler.Compiled(), bars, settings);
}

}  // namespace sarvane::study
