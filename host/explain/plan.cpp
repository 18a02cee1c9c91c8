#include "explain/plan.h"

#include <algorithm>
#include <array>
#include <fmt/ranges.h>

namespace sarvane::study {
namespace {

// What stands at a place: a column, a node's output such as "3" or "3.2", or a constant.
std::string PlaceText(const Compilation& compiled, Place place) {
    if (place < compiled.columns.size()) return compiled.columns[place];
    const auto nodes = compiled.graph.Nodes();
    for (std::size_t n = 0; n < nodes.size(); ++n) {
        const NodeText& node = nodes[n];
        if (place < node.output || place >= node.output + node.outputCount) continue;
        return node.outputCount == 1 ? fmt::format("#{}", n + 1)
                                     : fmt::format("#{}.{}", n + 1, place - node.output + 1);
    }
    return fmt::format("{}", compiled.graph.Values()[place]);
}

// One line a node, in the order of calculation.
std::string PlanText(const Compilation& compiled) {
    std::vector<std::array<std::string, 4>> rows = {{"#", "USED", "READS", "CALCULATES"}};
    const auto nodes = compiled.graph.Nodes();
    for (std::size_t n = 0; n < nodes.size(); ++n) {
        std::vector<std::string> inputs;
        for (const Place input : nodes[n].inputs) inputs.push_back(PlaceText(compiled, input));
        rows.push_back({fmt::format("{}", n + 1), fmt::format("{}", nodes[n].uses),
                        fmt::format("{}", fmt::join(inputs, ", ")), nodes[n].text});
    }
    std::array<std::size_t, 3> widths = {};
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < widths.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
    }
    std::string text;
    for (const auto& row : rows) {
        text += fmt::format("{:>{}}  {:>{}}  {:<{}}  {}\n", row[0], widths[0], row[1], widths[1], row[2], widths[2],
                            row[3]);
    }
    return text;
}

}  // namespace

std::string ExplainText(const Library& library, const std::vector<std::string>& columns,
                        const std::vector<std::string>& expressions, const OperatorSettings& settings, bool plan) {
    Compiler compiler(library.Studies(), columns);
    for (const std::string& expression : expressions) {
        if (const auto problem = compiler.Add(expression, {settings, true})) FailWith(*problem, expression);
    }
    const Compilation& compiled = compiler.Compiled();
    std::string text;
    for (const ResultColumn& result : compiled.results) {
        text += fmt::format("{}\n", result.title);
        if (result.output.empty()) text += fmt::format("  formula   {}\n", result.formula);
        if (plan) text += fmt::format("  node      {}\n", PlaceText(compiled, result.place));
        std::string longer;
        for (const FrameReach& reach : result.frames)
            longer += fmt::format("{}{} of {}", longer.empty() ? "" : ", ", reach.lookback, reach.frame);
        text += fmt::format("  lookback  {} bars{}\n", result.lookback, longer.empty() ? "" : " (" + longer + ")");
    }
    return plan ? text + '\n' + PlanText(compiled) : text;
}

}  // namespace sarvane::study
