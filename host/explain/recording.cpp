#include "explain/recording.h"

#include "failure.h"

#include <algorithm>
#include <bit>

namespace sarvane::study {

Recording::Recording(const Library& operators, const BarFile& file, const std::vector<std::string>& expressions,
                     const RunSettings& how, std::size_t last)
    : library(operators), bars(std::shared_ptr<const void>(), &file),  // which somebody else owns
      compiler(std::make_shared<Compiler>(operators.Studies(), file.Columns())), graph(&compiler->Compiled().graph),
      settings(how), lastBar(last) {
    for (const std::string& expression : expressions) {
        if (const auto problem = compiler->Add(expression, {settings.operators, true})) FailWith(*problem, expression);
    }
    results = compiler->Compiled().results;
    Run({static_cast<int>(file.BarCount()) - 1, settings.hold}, [&](std::size_t bar) { return file.Row(bar).values; });
}

Recording::Recording(const Recording& outer, const FrameText& longer, const BarMaker& made, std::size_t last)
    : library(outer.library), bars(std::make_shared<BarFile>(made.File())), compiler(outer.compiler),
      graph(longer.inner), settings(outer.settings), lastBar(last) {
    for (const Place place : longer.results) {
        const auto node = std::ranges::find_if(graph->Nodes(), [&](const NodeText& text) {
            return place >= text.output && place < text.output + text.outputCount;
        });
        ResultColumn result;
        result.title = node != graph->Nodes().end() ? node->text
                       : place < Columns().size()   ? Columns()[place]
                                                    : "value";
        result.place = place;
        results.push_back(std::move(result));
    }
    Run({0, settings.hold}, [&](std::size_t bar) { return made.Row(bar).values; });
}

void Recording::Run(const RunStart& start, const std::function<std::vector<double>(std::size_t bar)>& row) {
    std::size_t places = Columns().size();
    for (const NodeText& node : graph->Nodes()) {
        places = std::max(places, node.output + node.outputCount);
        for (const Place input : node.inputs) places = std::max(places, input + 1);
    }
    for (const ResultColumn& result : results) places = std::max(places, result.place + 1);
    values.resize(places);
    if (settings.priceStep) graph->SetPriceStep(*settings.priceStep);
    if (FAILED(Checked(graph->Reset(start)))) Fail("an operator can't start");
    for (std::size_t bar = 0; bar <= lastBar; ++bar) {
        const int number = start.lastBar > 0 ? static_cast<int>(bar) : 0;
        if (FAILED(Checked(graph->Step(row(bar).data(), number))))
            Fail("an operator can't calculate the bar of {}", Date(bar));
        for (std::size_t place = 0; place < places; ++place) values[place].push_back(graph->Values()[place]);
    }
}

std::optional<Recording::Longer> Recording::OverLonger(const NodeText& node) const {
    const FrameText& longer = *node.frame;
    BarMaker made(bars->Header(), {longer.frame, false}, false);
    made.TakeAll(*bars, lastBar + 1);
    const std::size_t back = longer.view == FrameView::Closed ? 2 : 1;
    if (made.BarCount() < back) return std::nullopt;
    const std::size_t last = made.BarCount() - back, first = made.FirstRow(last);
    const std::size_t end = last + 1 < made.BarCount() ? made.FirstRow(last + 1) : lastBar + 1;
    return Longer{Recording(*this, longer, made, last), first, std::max(end, first + 1)};
}

const std::vector<double>& Recording::Constant(double number) const {
    std::vector<double>& column = constants[std::bit_cast<std::uint64_t>(number)];
    if (column.empty()) column.assign(bars->BarCount(), number);
    return column;
}

}  // namespace sarvane::study
