#include "verify/reasons.h"

#include "failure.h"
#include "language/parser.h"
#include "progress.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <set>

namespace sarvane::study {
namespace {

// Operators and studies of which other programs have other variants. The variants are written in the language of
// expressions: a definition takes the place of a study, and calls of an operator are renamed to call a definition.
enum Variant : unsigned {
    ExpSeed = 1,       // exponential averages start with the mean of their first values
    ExpShare = 2,      // they move 1 / n of the way
    SmoSeed = 4,       // smoothed averages start with the first value
    SmoShare = 8,      // they move 2 / (n + 1) of the way
    OtherDivisor = 16  // deviations divide by n - 1 where they divided by n, or the other way round
};

// An average that moves a share of the way to each value, and what it starts with.
std::string AverageText(const char* head, const char* n, bool startsWithMean, bool isWilders) {
    const std::string start = startsWithMean ? fmt::format("Sim(curve, {})", n) : std::string("curve");
    const std::string share = isWilders ? fmt::format("1 / {}", n) : fmt::format("2 / ({} + 1)", n);
    return fmt::format("{} = if(defined(prev(0 / 0)), prev(0 / 0) + {} * (curve - prev(0 / 0)), {})\n", head, share,
                       start);
}

std::string DefinitionsOf(unsigned variants) {
    std::string text;
    if (variants & (ExpSeed | ExpShare))
        text += AverageText("OtherExp(curve, smoothing)", "smoothing", (variants & ExpSeed) != 0,
                            (variants & ExpShare) != 0) +
                "EMA(x, n = 20) = OtherExp(x, n)\n";
    if (variants & (SmoSeed | SmoShare))
        text +=
            AverageText("OtherSmo(curve, period)", "period", (variants & SmoSeed) == 0, (variants & SmoShare) == 0) +
            "RMA(x, n = 14) = OtherSmo(x, n)\n";
    if (variants & OtherDivisor)
        text += "OtherSDev(curve, period, useNMinus1 = 0) = SDev(curve, period, 1 - useNMinus1)\n"
                "StdDev(x, n = 20, sample = 0) = OtherSDev(x, n, sample)\n";
    return text;
}

std::string_view RenamedOperator(std::string_view name, unsigned variants) {
    const auto is = [&](std::string_view known) { return EqualIgnoringCase(name, known); };
    if (is("Exp") && variants & (ExpSeed | ExpShare)) return "OtherExp";
    if (is("Smo") && variants & (SmoSeed | SmoShare)) return "OtherSmo";
    if (is("SDev") && variants & OtherDivisor) return "OtherSDev";
    return {};
}

// An expression whose calls of operators are renamed as the variants need.
class Renamer {
public:
    Renamer(const std::string& expression, unsigned chosen) : text(expression), variants(chosen) {}

    std::string Rename() {
        if (const auto script = ParseScript(text)) {
            for (const Statement& statement : script->statements) Visit(statement);
        }
        for (auto place = places.rbegin(); place != places.rend(); ++place)
            text.replace(place->first, place->second.first, place->second.second);
        return text;
    }

private:
    void Visit(const Statement& statement) {
        Visit(statement.body);
        for (const Statement& output : statement.outputs) Visit(output);
    }
    void Visit(const Expression& part) {
        const std::string_view other = part.kind == Expression::Kind::Call ? RenamedOperator(part.name, variants) : "";
        if (!other.empty()) places[part.nameSpan.begin] = {part.nameSpan.end - part.nameSpan.begin, std::string(other)};
        for (const Expression& inner : part.parts) Visit(inner);
    }

    std::string text;
    unsigned variants;
    std::map<std::size_t, std::pair<std::size_t, std::string>> places;  // length and new name, by place
};

// A run that differs from the user's in the ways of some reasons.
struct Attempt {
    BarTable bars;
    unsigned variants = 0;
    std::optional<int> digits = {};
    int shift = 0;  // bars by which the other program's values come later
    bool startsLater = false;
};

// One of the usual reasons. `Apply` changes an attempt accordingly; false if the reason can't be this one.
struct Reason {
    int family;  // reasons of one family exclude each other
    std::string text;
    std::function<bool(Attempt&, std::string& text)> apply;
};

struct Precision {
    Tolerance tolerance;
    std::string text;  // empty where all digits count
    bool isPrintedRounding = false;
};

class Search {
public:
    Search(const Library& operators, const BarTable& table, const std::vector<std::string>& texts,
           const RunSettings& how, const OtherColumn& column, const Tolerance& tolerance)
        : library(operators), bars(table), expressions(texts), settings(how), other(column) {
        precisions.push_back({tolerance, ""});
        if (const int decimals = other.Decimals(); decimals <= MostDecimals)
            precisions.push_back({{tolerance.relative * 1e-3, 0.5 * std::pow(10.0, -decimals) * (1.0 + 1e-9)},
                                  fmt::format("rounded to {} decimals", decimals),
                                  true});
        precisions.push_back({{SinglePrecision, 0.0}, "calculated in single precision (float32)"});
        FindBasicFacts();
        CollectReasons();
    }

    std::vector<Explanation> Find() {
        Progress progress("looking for reasons", static_cast<double>(reasons.size() * (reasons.size() + 3) / 2));
        std::size_t tried = 0;
        std::vector<Explanation> found;
        if (const auto plain = Judge(Attempt{bars})) return {*plain};
        for (const Reason& reason : reasons) {
            progress.Update(static_cast<double>(++tried));
            Attempt attempt{bars};
            std::string text = reason.text;
            if (reason.apply(attempt, text)) Keep(found, attempt, {text}, {reason.family});
        }
        for (std::size_t i = 0; i < reasons.size() && found.empty(); ++i) {
            for (std::size_t j = i + 1; j < reasons.size(); ++j) {
                progress.Update(static_cast<double>(++tried));
                Attempt attempt{bars};
                std::string first = reasons[i].text, second = reasons[j].text;
                if (reasons[i].family == reasons[j].family || !reasons[i].apply(attempt, first) ||
                    !reasons[j].apply(attempt, second))
                    continue;
                Keep(found, attempt, {first, second}, {reasons[i].family, reasons[j].family});
            }
        }
        progress.Hide();
        return found;
    }

private:
    static constexpr int MostDecimals = 10;
    static constexpr double SinglePrecision = 2e-6;
    static constexpr int FurthestShift = 5;
    static constexpr std::size_t LatestStart =
        40;  // bars, besides the starts that the other column's first value tells

    std::vector<double> Run(const Attempt& attempt) {
        const auto key = std::pair(attempt.variants, attempt.digits.value_or(0));
        auto known = compilers.find(key);
        if (known == compilers.end()) {
            Definitions definitions = library.Studies()->Studies();
            if (const auto problem = definitions.Add(DefinitionsOf(attempt.variants), "variants"))
                FailWith(*problem, "");
            auto compiler = std::make_unique<Compiler>(library.Studies(), definitions, bars.columns);
            OperatorSettings operators = settings.operators;
            if (attempt.digits) operators.digits = attempt.digits;
            for (const std::string& expression : expressions) {
                const std::string text = Renamer(expression, attempt.variants).Rename();
                if (const auto problem = compiler->Add(text, {operators, false})) FailWith(*problem, text);
            }
            known = compilers.emplace(key, std::move(compiler)).first;
        }
        ResultTable results = RunTable(known->second->Compiled(), attempt.bars, settings);
        return std::move(results.values.back());
    }

    // Rounding that leaves next to nothing of the values would make all columns alike.
    bool IsTooCoarse(const Precision& precision) const { return precision.tolerance.absolute > 0.02 * spread; }

    // How the attempt agrees with the other column, if it does.
    std::optional<Explanation> Judge(const Attempt& attempt) {
        for (const Precision& precision : precisions) {
            if (auto explanation = Judge(attempt, precision)) return explanation;
        }
        return std::nullopt;
    }

    std::optional<Explanation> Judge(const Attempt& attempt, const Precision& precision) {
        if (IsTooCoarse(precision)) return std::nullopt;
        const CommonBars common = FindCommonBars(attempt.bars.times, other.times);
        Agreement agreement = Compare(common, Run(attempt), other, precision.tolerance, attempt.shift);
        const bool isEnough = agreement.compared >= std::max<std::size_t>(compared / 2, 3);
        const bool hasAll = !attempt.startsLater || agreement.onlyThere == 0;
        if (!agreement.IsWhole() || !isEnough || !hasAll) return std::nullopt;
        Explanation explanation{{}, agreement, precision.isPrintedRounding};
        if (!precision.text.empty()) explanation.reasons.push_back(precision.text);
        return explanation;
    }

    // Of the explanations by one family only the one is kept that agrees best.
    void Keep(std::vector<Explanation>& found, const Attempt& attempt, const std::vector<std::string>& texts,
              const std::vector<int>& families) {
        auto explanation = Judge(attempt);
        if (!explanation) return;
        explanation->reasons.insert(explanation->reasons.begin(), texts.begin(), texts.end());
        const auto [place, isNew] = byFamilies.try_emplace(families, found.size());
        if (isNew)
            found.push_back(std::move(*explanation));
        else if (explanation->agreement.usualDigits > found[place->second].agreement.usualDigits)
            found[place->second] = std::move(*explanation);
    }

    void FindBasicFacts() {
        const std::vector<double> values = Run(Attempt{bars});
        used = compilers.begin()->second->Compiled().UsedColumns();
        const CommonBars common = FindCommonBars(bars.times, other.times);
        const Agreement plain = Compare(common, values, other, precisions.front().tolerance);
        compared = plain.compared;
        const auto hasValue = [](double value) { return !IsUndefined(value) && std::isfinite(value); };
        double sum = 0.0, squares = 0.0, count = 0.0;
        for (const auto& [here, there] : common) {
            if (!hasValue(values[here])) continue;
            sum += values[here];
            count += 1.0;
        }
        for (const auto& [here, there] : common) {
            if (hasValue(values[here])) squares += (values[here] - sum / count) * (values[here] - sum / count);
        }
        spread = count > 0.0 ? std::sqrt(squares / count) : 0.0;
        const auto first = std::ranges::find_if(values, hasValue);
        const auto otherFirst = std::ranges::find_if(other.values, hasValue);
        if (first == values.end() || otherFirst == other.values.end()) return;
        const BarTime start = other.times[static_cast<std::size_t>(otherFirst - other.values.begin())];
        const auto bar = std::ranges::lower_bound(bars.times, start) - bars.times.begin();
        const auto before = first - values.begin();
        // The other program's data begin as far ahead of its first value as ours do, or with its first line or value.
        for (const auto likely :
             {bar - before, bar, std::ranges::lower_bound(bars.times, other.times.front()) - bars.times.begin()}) {
            for (auto near = likely - 2; near <= likely + 2; ++near) {
                if (near > 0 && near + 3 < static_cast<std::ptrdiff_t>(bars.BarCount()))
                    starts.insert(static_cast<std::size_t>(near));
            }
        }
        for (std::size_t near = 1; near <= LatestStart && near + 3 < bars.BarCount(); ++near) starts.insert(near);
    }

    void CollectReasons() {
        int family = 0;
        for (int shift = -FurthestShift; shift <= FurthestShift; ++shift) {
            if (shift == 0) continue;
            const int size = std::abs(shift);
            Add(family,
                fmt::format("shifted: its values stand {} bar{} {}", size, size > 1 ? "s" : "",
                            shift > 0 ? "later" : "earlier"),
                [shift](Attempt& attempt, std::string&) {
                    attempt.shift = shift;
                    return true;
                });
        }
        ++family;
        Add(family++, "not rounded by the operator: --digits 15 gives all digits here, too",
            [](Attempt& attempt, std::string&) {
                attempt.digits = 15;
                return true;
            });
        const auto addVariant = [&](Variant variant, const char* text) {
            Add(family++, text, [variant](Attempt& attempt, std::string&) {
                attempt.variants |= variant;
                return true;
            });
        };
        addVariant(ExpSeed, "other seed: its exponential averages start with the mean of their first n values, not "
                            "with the first value");
        addVariant(SmoSeed, "other seed: its smoothed (Wilder's) averages start with the first value, not with the "
                            "mean of the first n");
        addVariant(ExpShare, "other smoothing: its exponential averages move 1 / n of the way, not 2 / (n + 1)");
        addVariant(SmoShare,
                   "other smoothing: its smoothed (Wilder's) averages move 2 / (n + 1) of the way, not 1 / n");
        addVariant(OtherDivisor,
                   "other deviation: sample (n - 1) in the place of population (n), or the other way round");
        Add(family++, "adjusted prices in the place of unadjusted ones",
            [](Attempt& attempt, std::string&) { return Adjust(attempt.bars); });
        Add(family++, "unadjusted prices in the place of adjusted ones", [](Attempt& attempt, std::string&) {
            std::vector<double>* const adjusted = attempt.bars.Find("Adj Close");
            const std::vector<double>* const close = attempt.bars.Find("close");
            if (!adjusted || !close) return false;
            *adjusted = *close;
            return true;
        });
        const auto isGap = [this](const BarTable& table, std::size_t bar) {
            return std::ranges::any_of(used,
                                       [&](std::size_t column) { return IsUndefined(table.values[column][bar]); });
        };
        Add(family, "gaps skipped: bars without a value are left out", [isGap](Attempt& attempt, std::string&) {
            const std::size_t before = attempt.bars.BarCount();
            const BarTable whole = attempt.bars;
            attempt.bars.Keep([&](std::size_t bar) { return !isGap(whole, bar); });
            return attempt.bars.BarCount() < before;
        });
        Add(family++, "gaps carried: bars without a value have that of the bar before",
            [this](Attempt& attempt, std::string&) {
                bool changed = false;
                for (const std::size_t place : used) {
                    std::vector<double>& column = attempt.bars.values[place];
                    for (std::size_t bar = 1; bar < column.size(); ++bar) {
                        if (!IsUndefined(column[bar]) || IsUndefined(column[bar - 1])) continue;
                        column[bar] = column[bar - 1];
                        changed = true;
                    }
                }
                return changed;
            });
        Add(family++, "",
            [this](Attempt& attempt, std::string& text) { return LeaveOutBarsMissingThere(attempt, text); });
        for (const std::size_t start : starts) {
            Add(family, "", [start](Attempt& attempt, std::string& text) {
                if (start >= attempt.bars.BarCount()) return false;
                text = fmt::format("other start: its data begin {} bars later", start);
                attempt.bars.Keep([start](std::size_t bar) { return bar >= start; });
                attempt.startsLater = true;
                return true;
            });
        }
        ++family;
        Add(family, "", [this](Attempt& attempt, std::string& text) { return ChangeOneBar(attempt, text); });
    }

    void Add(int family, std::string text, std::function<bool(Attempt&, std::string&)> apply) {
        reasons.push_back({family, std::move(text), std::move(apply)});
    }

    // Prices times the share by which the adjusted close differs from the close.
    static bool Adjust(BarTable& table) {
        const std::vector<double>* const adjusted = table.Find("Adj Close");
        std::vector<double>* const close = table.Find("close");
        if (!adjusted || !close) return false;
        for (const char* const name : {"open", "high", "low"}) {
            std::vector<double>* const prices = table.Find(name);
            for (std::size_t bar = 0; prices && bar < prices->size(); ++bar) {
                if (!IsUndefined((*prices)[bar]) && !IsUndefined((*adjusted)[bar]) && !IsUndefined((*close)[bar]))
                    (*prices)[bar] *= (*adjusted)[bar] / (*close)[bar];
            }
        }
        *close = *adjusted;
        return true;
    }

    bool LeaveOutBarsMissingThere(Attempt& attempt, std::string& text) const {
        const std::vector<BarTime> times = attempt.bars.times;
        const auto isThere = [&](std::size_t bar) {
            return times[bar] < other.times.front() || times[bar] > other.times.back() ||
                   std::ranges::binary_search(other.times, times[bar]);
        };
        attempt.bars.Keep(isThere);
        const std::size_t left = times.size() - attempt.bars.BarCount();
        text = fmt::format("bars missing: it calculates without the {} bars that it does not list", left);
        return left > 0;
    }

    // Looks for a value of one bar with which all agrees: that of the first bar that differs.
    bool ChangeOneBar(Attempt& attempt, std::string& text) {
        if (attempt.shift != 0) return false;
        const CommonBars common = FindCommonBars(attempt.bars.times, other.times);
        const std::vector<double> values = Run(attempt);
        for (const Precision& precision : precisions) {
            if (IsTooCoarse(precision)) continue;
            const Agreement plain = Compare(common, values, other, precision.tolerance);
            if (plain.differing == 0 || plain.firstDifferent < plain.first + 2) continue;
            const std::size_t bar = common[plain.firstDifferent].first;
            for (const std::size_t column : used) {
                const double original = attempt.bars.values[column][bar];
                if (!FindValue(attempt, column, bar, common, plain.firstDifferent, precision)) continue;
                const double found = attempt.bars.values[column][bar];
                text = fmt::format("one bar differs: its {} of {} is {} instead of {}", attempt.bars.columns[column],
                                   other.dates[common[plain.firstDifferent].second],
                                   precision.isPrintedRounding ? fmt::format("about {:.6g}", found)
                                                               : fmt::format("{}", found),
                                   original);
                return true;
            }
        }
        return false;
    }

    // Searches for the value in one column of one bar with which all agrees: by the secant method for one that gives the
    // other program's value on the common bar `first`, then near it, where rounding hides which one it is.
    bool FindValue(Attempt& attempt, std::size_t column, std::size_t bar, const CommonBars& common, std::size_t first,
                   const Precision& precision) {
        constexpr int MostSteps = 30;
        double& value = attempt.bars.values[column][bar];
        const double original = value, wanted = other.values[common[first].second];
        if (IsUndefined(original) || !std::isfinite(original) || IsUndefined(wanted)) return false;
        const auto errorAt = [&](double tried) {
            value = tried;
            return Run(attempt)[bar] - wanted;
        };
        double before = original, errorBefore = errorAt(before);
        double now = original * 1.01 + 1e-6, error = errorAt(now), slope = 0.0;
        for (int step = 0; step < MostSteps && error != 0.0 && std::isfinite(error) && error != errorBefore; ++step) {
            slope = (error - errorBefore) / (now - before);
            before = now;
            errorBefore = error;
            now -= error / slope;
            error = errorAt(now);
        }
        if (!std::isfinite(now) || slope == 0.0) {
            value = original;
            return false;
        }
        const double width = 2.0 * precision.tolerance.absolute / std::abs(slope);
        if (width > 0.0) now = NearestValue(attempt, value, now, width, common, first);
        // Prices have few decimals.
        for (int decimals = 0; decimals <= MostDecimals; ++decimals) {
            const double scale = std::pow(10.0, decimals);
            value = std::round(now * scale) / scale;
            if (std::abs(value - now) <= width + std::abs(now) * 1e-6 && Judge(attempt, precision)) return true;
        }
        value = now;
        if (Judge(attempt, precision)) return true;
        value = original;
        return false;
    }

    // The number within `width` of `middle` with which the greatest difference behind common bar `first` is least. Golden
    // section, which finds it where the result is a linear function of the number.
    double NearestValue(const Attempt& attempt, double& value, double middle, double width, const CommonBars& common,
                        std::size_t first) {
        const auto greatestDifference = [&](double tried) {
            value = tried;
            const std::vector<double> values = Run(attempt);
            double greatest = 0.0;
            for (std::size_t i = first; i < common.size(); ++i) {
                const double a = values[common[i].first], b = other.values[common[i].second];
                if (!IsUndefined(a) && !IsUndefined(b)) greatest = std::max(greatest, std::abs(a - b));
            }
            return greatest;
        };
        constexpr double Golden = 0.6180339887498949;
        double low = middle - width, high = middle + width;
        for (int step = 0; step < 40; ++step) {
            const double a = high - Golden * (high - low), b = low + Golden * (high - low);
            if (greatestDifference(a) < greatestDifference(b))
                high = b;
            else
                low = a;
        }
        return (low + high) / 2.0;
    }

    const Library& library;
    const BarTable& bars;
    const std::vector<std::string>& expressions;
    RunSettings settings;
    const OtherColumn& other;
    std::vector<Precision> precisions;
    std::vector<std::size_t> used;  // columns that the expressions read
    std::size_t compared = 0;       // bars, as the columns stand
    double spread = 0.0;            // standard deviation of our values
    std::set<std::size_t> starts;   // bars with which the other program's data may begin
    std::vector<Reason> reasons;
    std::map<std::pair<unsigned, int>, std::unique_ptr<Compiler>> compilers;
    std::map<std::vector<int>, std::size_t> byFamilies;  // places of explanations
};

}  // namespace

std::vector<Explanation> FindReasons(const Library& library, const BarTable& bars,
                                     const std::vector<std::string>& expressions, const RunSettings& settings,
                                     const OtherColumn& other, const Tolerance& tolerance) {
    return Search(library, bars, expressions, settings, other, tolerance).Find();
}

}  // namespace sarvane::study
