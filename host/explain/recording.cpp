#include "explain/recording.h"

#include "failure.h"

#include <bit>

namespace sarvane::study {

Recording::Recording(const Library& operators, const BarFile& file, const std::vector<std::string>& expressions,
                     const RunSettings& settings, std::size_t last)
    : library(operators), bars(file), compiler(operators.Studies(), file.Columns()), lastBar(last) {
    for (const std::string& expression : expressions) {
        if (const auto problem = compiler.Add(expression, {settings.operators, true})) FailWith(*problem, expression);
    }
    Graph& graph = compiler.Compiled().graph;
    std::size_t places = bars.Columns().size();
    for (const NodeText& node : graph.Nodes()) {
        places = std::max(places, node.output + node.outputCount);
        for (const Place input : node.inputs) places = std::max(places, input + 1);
    }
    for (const ResultColumn& result : Compiled().results) places = std::max(places, result.place + 1);
    values.resize(places);
    if (settings.priceStep) graph.SetPriceStep(*settings.priceStep);
    const int end = static_cast<int>(bars.BarCount()) - 1;
    if (FAILED(Checked(graph.Reset({end, settings.hold})))) Fail("an operator can't start");
    std::vector<double> row(bars.Columns().size());
    for (std::size_t bar = 0; bar <= lastBar; ++bar) {
        for (std::size_t column = 0; column < row.size(); ++column) row[column] = bars.Value(column, bar);
        if (FAILED(Checked(graph.Step(row.data(), static_cast<int>(bar)))))
            Fail("an operator can't calculate the bar of {}", bars.Date(bar));
        for (std::size_t place = 0; place < places; ++place) values[place].push_back(graph.Values()[place]);
    }
}

const std::vector<double>& Recording::Constant(double number) const {
    std::vector<double>& column = constants[std::bit_cast<std::uint64_t>(number)];
    if (column.empty()) column.assign(bars.BarCount(), number);
    return column;
}

}  // namespace sarvane::study
