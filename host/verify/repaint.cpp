#include "verify/repaint.h"

#include "failure.h"
#include "progress.h"

#include <algorithm>
#include <bit>
#include <map>
#include <sarvane/chart_label.h>

namespace sarvane::study {
namespace {

bool AreSame(double a, double b) { return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b); }

// The one operator whose values depend on which bar is the last one of the series (IZelmorOp2::ResetBar). All others
// can't know it, so that what they have shown stays.
bool DependsOnLastBar(const Graph& graph) {
    return std::ranges::any_of(graph.Nodes(), [](const NodeText& node) { return node.text.starts_with("TDRebo"); });
}

class Replayer {
public:
    Replayer(const Library& library, const BarFile& file, const std::vector<std::string>& expressions,
             const RunSettings& how)
        : bars(file), settings(how), compiler(library.Studies(), file.Columns()), row(file.Columns().size()) {
        for (const std::string& expression : expressions) {
            if (const auto problem = compiler.Add(expression, {settings.operators, true}))
                FailWith(*problem, expression);
        }
        for (const ResultColumn& column : compiler.Compiled().results) results.push_back({column});
    }

    std::vector<RepaintResult> Find() {
        if (DependsOnLastBar(compiler.Compiled().graph)) GrowBarByBar();
        if (!bars.Ticks().empty()) GoThroughTicks();
        return std::move(results);
    }

private:
    // Shows the first bar, the first two, and so on, each as a whole series.
    void GrowBarByBar() {
        const std::size_t count = bars.BarCount();
        std::vector<std::vector<double>> shown(results.size(), std::vector<double>(count));
        Progress progress("looking for values that change", static_cast<double>(count) * static_cast<double>(count));
        for (std::size_t last = 0; last < count; ++last) {
            progress.Update(static_cast<double>(last) * static_cast<double>(last));
            Begin(last);
            for (std::size_t bar = 0; bar <= last; ++bar) {
                Step(bar, bar);
                for (std::size_t i = 0; i < results.size(); ++i) {
                    const double value = ValueOf(i);
                    if (bar < last && !AreSame(value, shown[i][bar]))
                        results[i].repaints.push_back({bar, last - bar, shown[i][bar], value});
                    shown[i][bar] = value;
                }
            }
        }
    }

    // A tick changes all curves. What it may not change back is a mark: a label, or a vote.
    void GoThroughTicks() {
        const std::vector<BarFile::Tick>& ticks = bars.Ticks();
        Begin(bars.BarCount() - 1);
        auto tick = ticks.begin();
        for (std::size_t bar = 0; bar < bars.BarCount(); ++bar) {
            std::vector<std::vector<double>> marks(results.size());
            if (tick != ticks.end() && tick->bar == bar) compiler.Compiled().graph.Save(1);
            const bool hasTicks = tick != ticks.end() && tick->bar == bar;
            for (; tick != ticks.end() && tick->bar == bar; ++tick) {
                row = tick->values;
                StepRow(bar);
                for (std::size_t i = 0; i < results.size(); ++i) {
                    if (IsMark(i)) marks[i].push_back(ValueOf(i));
                }
                if (Checked(compiler.Compiled().graph.Restore(1)) != S_OK) Fail("an operator keeps no snapshot");
            }
            Step(bar, bar);
            for (std::size_t i = 0; i < results.size() && hasTicks; ++i) {
                const bool isTakenBack = std::ranges::any_of(marks[i], [&](double mark) {
                    return !IsUndefined(mark) && mark != 0.0 && !AreSame(mark, ValueOf(i));
                });
                if (!isTakenBack) continue;
                if (results[i].tickBars++ == 0) results[i].firstTickBar = bar;
            }
        }
    }

    bool IsMark(std::size_t result) const {
        const ResultColumn& column = results[result].column;
        return column.isLabel || column.drawing == DrawnAs::Marker || column.drawing == DrawnAs::Band;
    }

    void Begin(std::size_t last) {
        Graph& graph = compiler.Compiled().graph;
        if (settings.priceStep) graph.SetPriceStep(*settings.priceStep);
        if (FAILED(Checked(graph.Reset({static_cast<int>(last), settings.hold})))) Fail("an operator can't start");
    }
    void Step(std::size_t from, std::size_t bar) {
        for (std::size_t column = 0; column < row.size(); ++column) row[column] = bars.Value(column, from);
        StepRow(bar);
    }
    void StepRow(std::size_t bar) {
        if (FAILED(Checked(compiler.Compiled().graph.Step(row.data(), static_cast<int>(bar)))))
            Fail("an operator can't calculate the bar of {}", bars.Date(bar));
    }
    double ValueOf(std::size_t result) { return compiler.Compiled().graph.Values()[results[result].column.place]; }

    const BarFile& bars;
    RunSettings settings;
    Compiler compiler;
    std::vector<double> row;
    std::vector<RepaintResult> results;
};

std::string ValueText(const ResultColumn& column, double value) {
    if (IsUndefined(value)) return "nothing";
    const auto label = column.isLabel ? LabelText(value) : std::nullopt;
    return label ? Quoted(*label) : fmt::format("{}", value);
}

}  // namespace

std::vector<RepaintResult> FindRepaints(const Library& library, const BarFile& bars,
                                        const std::vector<std::string>& expressions, const RunSettings& settings) {
    if (bars.BarCount() == 0) Fail("{}: has no bars", bars.Name());
    return Replayer(library, bars, expressions, settings).Find();
}

std::string RepaintText(const RepaintResult& result, const BarFile& bars) {
    std::string text = result.column.title + '\n';
    if (result.repaints.empty())
        text += fmt::format("  on {} bars nothing changed that an earlier bar had shown\n", bars.BarCount());
    for (const Repaint& repaint : result.repaints) {
        const auto shown = [&](double value) { return ValueText(result.column, value); };
        text += fmt::format("  {}  {} became {}, {} bar{} later", bars.Date(repaint.bar), shown(repaint.before),
                            shown(repaint.after), repaint.barsLater, repaint.barsLater > 1 ? "s" : "");
        const bool areNumbers = !IsUndefined(repaint.before) && !IsUndefined(repaint.after) && !result.column.isLabel;
        text += areNumbers ? fmt::format(", by {}\n", repaint.after - repaint.before) : "\n";
    }
    if (result.tickBars > 0)
        text += fmt::format("  on {} bars a tick showed a mark that the bar's end did not have, first on {}\n",
                            result.tickBars, bars.Date(result.firstTickBar));
    return text;
}

}  // namespace sarvane::study
