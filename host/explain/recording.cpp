#include "explain/recording.h"

#include "failure.h"

#include <algorithm>
#include <bit>

namespace sarvane::study {

Recording::Recording(const Library& operators, const BarFile& bars, const std::vector<std::string>& expressions,
                     const RunSettings& how, std::size_t last)
    : library(operators), header(bars.Header()), columns(bars.Columns()),
      compiler(std::make_shared<Compiler>(operators.Studies(), bars.Columns())), graph(&compiler->Compiled().graph),
      settings(how), lastBar(last) {
    for (const std::string& expression : expressions) {
        if (const auto problem = compiler->Add(expression, {settings.operators, true})) FailWith(*problem, expression);
    }
    results = compiler->Compiled().results;
    for (std::size_t bar = 0; bar < bars.BarCount(); ++bar) {
        dates.emplace_back(bars.Date(bar));
        if (bars.HasTimes()) times.push_back(bars.Time(bar));
    }
    Run({static_cast<int>(bars.BarCount()) - 1, settings.hold}, [&](std::size_t bar) { return bars.Row(bar).values; });
}

Recording::Recording(const Recording& outer, const FrameText& longer, const BarMaker& made, std::size_t last)
    : library(outer.library), header(outer.header), columns(outer.columns), compiler(outer.compiler),
      graph(longer.inner), settings(outer.settings), lastBar(last) {
    for (const Place place : longer.results) {
        const auto node = std::ranges::find_if(graph->Nodes(), [&](const NodeText& text) {
            return place >= text.output && place < text.output + text.outputCount;
        });
        ResultColumn result;
        result.title = node != graph->Nodes().end() ? node->text : place < columns.size() ? columns[place] : "value";
        result.place = place;
        results.push_back(std::move(result));
    }
    const BarFile bars = made.File();
    for (std::size_t bar = 0; bar < bars.BarCount(); ++bar) {
        dates.push_back(bars.IsoDate(bar));
        times.push_back(bars.Time(bar));
    }
    Run({0, settings.hold}, [&](std::size_t bar) { return made.Row(bar).values; });
}

void Recording::Run(const RunStart& start, const std::function<std::vector<double>(std::size_t bar)>& row) {
    std::size_t places = columns.size();
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
            Fail("an operator can't calculate the bar of {}", dates[bar]);
        for (std::size_t place = 0; place < places; ++place) values[place].push_back(graph->Values()[place]);
    }
}

std::optional<Recording::Longer> Recording::OverLonger(const NodeText& node) const {
    const FrameText& longer = *node.frame;
    BarMaker made(header, {longer.frame, false}, false);
    std::vector<std::size_t> firstBars;  // by longer bar
    for (std::size_t bar = 0; bar <= lastBar; ++bar) {
        BarRow row{dates[bar], {}};
        for (std::size_t column = 0; column < columns.size(); ++column) row.values.push_back(values[column][bar]);
        made.Take(row, times.empty() ? BarTime{std::chrono::sys_seconds(std::chrono::seconds(bar))} : times[bar]);
        firstBars.resize(made.BarCount(), bar);
    }
    const std::size_t back = longer.view == FrameView::Closed ? 2 : 1;
    if (made.BarCount() < back) return std::nullopt;
    const std::size_t last = made.BarCount() - back;
    const std::size_t end = last + 1 < firstBars.size() ? firstBars[last + 1] : lastBar + 1;
    return Longer{Recording(*this, longer, made, last), firstBars[last], std::max(end, firstBars[last] + 1)};
}

const std::vector<double>& Recording::Constant(double number) const {
    std::vector<double>& column = constants[std::bit_cast<std::uint64_t>(number)];
    if (column.empty()) column.assign(dates.size(), number);
    return column;
}

}  // namespace sarvane::study
