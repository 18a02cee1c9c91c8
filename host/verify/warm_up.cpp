#include "verify/warm_up.h"

#include "failure.h"
#include "verify/comparison.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace sarvane::study {
namespace {

// Digits that a chart shows.
constexpr int ShownDigits = 4;

// All runs that are compared: one over all bars, and some that begin later.
class Runs {
public:
    Runs(const Library& library, const BarTable& table, const std::vector<std::string>& expressions,
         const RunSettings& how, bool allOutputs)
        : bars(table), settings(how), compiler(library.Studies(), table.columns) {
        for (const std::string& expression : expressions) {
            if (const auto problem = compiler.Add(expression, {settings.operators, allOutputs}))
                FailWith(*problem, expression);
        }
        whole = From(0);
        constexpr std::size_t Parts = 8;  // of the bars
        for (std::size_t part = 0; part <= Parts / 2; ++part) {
            const std::size_t start = std::max<std::size_t>(bars.BarCount() * part / Parts, 1);
            if (start < bars.BarCount()) later.emplace_back(start, From(start));
        }
    }

    const ResultTable& Whole() const { return whole; }

    ResultTable From(std::size_t start) {
        BarTable part = bars;
        part.Keep([start](std::size_t bar) { return bar >= start; });
        return RunTable(compiler.Compiled(), part, settings);
    }

    // Whether some run is long enough to have values, so that it tells when the result is settled.
    bool CanTell(std::size_t result) const {
        return std::ranges::any_of(later, [&](const auto& run) { return IsLongEnough(run.second, result); });
    }

    std::optional<std::size_t> BarsUntilSettled(std::size_t result, int digits) const {
        if (!CanTell(result)) return std::nullopt;
        std::size_t most = 0;
        const std::vector<double>& expected = whole.values[result];
        const double usual = UsualSize(expected);
        for (const auto& [start, run] : later) {
            if (!IsLongEnough(run, result)) continue;
            const std::vector<double>& values = run.values[result];
            std::size_t settled = values.size();
            while (settled > 0 && DigitsAgreeing(values[settled - 1], expected[start + settled - 1], usual) >= digits)
                --settled;
            if (settled == values.size()) return std::nullopt;
            most = std::max(most, settled);
        }
        return most;
    }

private:
    static bool IsLongEnough(const ResultTable& run, std::size_t result) {
        return !std::ranges::all_of(run.values[result], IsUndefined);
    }

    const BarTable& bars;
    RunSettings settings;
    Compiler compiler;
    ResultTable whole;
    std::vector<std::pair<std::size_t, ResultTable>> later;  // by their first bar
};

std::string ValueText(double value) { return IsUndefined(value) ? "no value" : fmt::format("{}", value); }

}  // namespace

std::vector<std::optional<std::size_t>> BarsUntilSettled(const Library& library, const BarTable& bars,
                                                         const std::vector<std::string>& expressions,
                                                         const RunSettings& settings, bool allOutputs, int digits) {
    const Runs runs(library, bars, expressions, settings, allOutputs);
    std::vector<std::optional<std::size_t>> settled;
    for (std::size_t i = 0; i < runs.Whole().columns.size(); ++i) settled.push_back(runs.BarsUntilSettled(i, digits));
    return settled;
}

std::vector<StartNotice> UnsettledNotices(const Library& library, const BarFile& file,
                                          const std::vector<std::string>& expressions, const RunSettings& settings,
                                          bool allOutputs, std::size_t firstShown) {
    const BarTable bars(file);
    const Runs runs(library, bars, expressions, settings, allOutputs);
    const std::vector<ResultColumn>& columns = runs.Whole().columns;
    std::map<std::size_t, std::string> titles;  // of expressions, by the bars that are not settled in all their outputs
    for (std::size_t i = 0, unsettled = 0; i < columns.size(); ++i) {
        const std::vector<double>& values = runs.Whole().values[i];
        const std::size_t settled = runs.BarsUntilSettled(i, ShownDigits).value_or(bars.BarCount());
        const auto end = values.begin() + static_cast<std::ptrdiff_t>(settled);
        const auto shown = values.begin() + static_cast<std::ptrdiff_t>(std::min(firstShown, settled));
        if (runs.CanTell(i) && !std::all_of(shown, end, IsUndefined)) unsettled = std::max(unsettled, settled);
        if (i + 1 < columns.size() && columns[i + 1].expression == columns[i].expression) continue;
        if (unsettled > 0) {
            std::string& list = titles[std::exchange(unsettled, 0)];
            list += (list.empty() ? "" : ", ") + TypedText(columns[i]);
        }
    }
    std::vector<StartNotice> notices;
    for (const auto& [settled, list] : titles) {
        const std::string text =
            settled == bars.BarCount()
                ? std::string("all values depend on where the data start")
                : fmt::format("values ahead of {} depend on where the data start; from then on {} digits are settled "
                              "(--settled {} blanks the others)",
                              file.Date(settled), ShownDigits, ShownDigits);
        notices.push_back({fmt::format("{}: {}", list, text), settled});
    }
    return notices;
}

std::string WarmUpText(const Library& library, const BarFile& file, const std::vector<std::string>& expressions,
                       const RunSettings& settings, std::size_t bar) {
    const BarTable bars(file);
    Runs runs(library, bars, expressions, settings, true);
    const ResultTable& whole = runs.Whole();
    std::string text;
    for (std::size_t i = 0; i < whole.columns.size(); ++i) {
        const std::size_t lookback = std::max<std::size_t>(whole.columns[i].lookback, 1);
        const double value = whole.values[i][bar], usual = UsualSize(whole.values[i]);
        text += fmt::format("{}\n  on {}   {} from all {} bars up to there\n  lookback        {} bars\n",
                            whole.columns[i].title, file.Date(bar), ValueText(value), bar + 1, lookback);
        for (const double share : {0.25, 0.5, 1.0, 2.0, 4.0}) {
            const auto count = static_cast<std::size_t>(std::ceil(static_cast<double>(lookback) * share));
            text += fmt::format("  {:4} x lookback ", share);
            if (count > bar + 1) {
                text += fmt::format("needs {} bars, there are {}\n", count, bar + 1);
                continue;
            }
            const std::size_t start = bar + 1 - count;
            const double later = runs.From(start).values[i][bar - start];
            const int digits = DigitsAgreeing(later, value, usual);
            text += fmt::format("{} from {} bars: {}\n", ValueText(later), count,
                                digits >= AllDigits ? "the same" : fmt::format("{} digits agree", digits));
        }
        for (const int digits : {2, 4, 6, 8, 10, 12}) {
            const auto settled = runs.BarsUntilSettled(i, digits);
            text += settled
                        ? fmt::format("  {:2} digits       settled after {} bars, from {} on\n", digits, *settled,
                                      file.Date(*settled))
                        : fmt::format("  {:2} digits       never settled: they depend on all bars before\n", digits);
        }
    }
    return text;
}

}  // namespace sarvane::study
