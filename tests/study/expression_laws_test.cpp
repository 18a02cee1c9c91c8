// What holds for every expression, tried on random ones.

#include "compilation.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace sarvane::study {
namespace {

const std::vector<std::string> Columns = {"open", "high", "low", "close", "volume", "time"};
constexpr double Day = 86400.0;
constexpr int Bars = 60;

using Row = std::vector<double>;
using Results = std::vector<std::vector<std::uint64_t>>;  // bits, by bar

class RandomExpressions {
public:
    explicit RandomExpressions(unsigned seed) : random(seed) {}

    int Below(std::size_t n) { return std::uniform_int_distribution<int>(0, static_cast<int>(n) - 1)(random); }

    // "$" in a form is a part of its own.
    std::string Expression(int height) {
        static constexpr std::string_view Leaves[] = {"Open", "High", "Low", "Close", "Volume", "Close", "2", "0.5"};
        static constexpr std::string_view Forms[] = {"($ + $)",
                                                     "($ / $)",
                                                     "($ > $ and $ < $)",
                                                     "-$",
                                                     "$[3]",
                                                     "max($, $, 3)",
                                                     "if($ > $, $, $)",
                                                     "sum($, 4)",
                                                     "cross($, $)",
                                                     "fill($)",
                                                     "fill($, $)",
                                                     "defined($)",
                                                     "round($, 1)",
                                                     "log($)",
                                                     "(prev($) + $)",
                                                     "Sim($, 5)",
                                                     "Sim($, 5, 2)",
                                                     "Sim($, $)",
                                                     "Exp($, 7)",
                                                     "Smo($, 4, digits = 15)",
                                                     "Wei($, 3)",
                                                     "HiLev($, $, 6).integer1",
                                                     "Correl($, $, 8)",
                                                     "SDev($, 5)",
                                                     "Middle($, 5)",
                                                     "Samp($, $)",
                                                     "MedOp($, 5)",
                                                     "KalmanFilter($, 0.1, 1, 1)",
                                                     "VolStop(Bar, 2, 5, $)",
                                                     "TDREIOP(Bar)",
                                                     "KasePermStoch(Bar, 3, 2)",
                                                     "(Bar * $).high",
                                                     "(Bar - $)[2].low",
                                                     "RSI($, 5)",
                                                     "MACD($, 3, 6, 2).histogram",
                                                     "Supertrend(4, 1)",
                                                     "KAMA($, 4)",
                                                     "Bollinger($, 5).percentB",
                                                     "ADX(3).dx",
                                                     "OBV",
                                                     "FisherTransform(4)",
                                                     "VWMA($, 4)",
                                                     "at(1W, $)",
                                                     "at(1W, $, closed)",
                                                     "at(3bars, $)",
                                                     "at(4bars, $, closed)",
                                                     "at(1M, Bar).high",
                                                     "at(2000volume, $)",
                                                     "at(12range, $)",
                                                     "at(2renko, $)",
                                                     "at(heikinashi, $)"};
        const std::string_view form = height == 0 ? Leaves[Below(std::size(Leaves))] : Forms[Below(std::size(Forms))];
        std::string text;
        for (const char c : form)
            text += c == '$' ? Expression(Below(static_cast<std::size_t>(height))) : std::string(1, c);
        return text;
    }

    Row Bar(std::size_t number) {
        const auto unit = [&] { return std::uniform_real_distribution<double>()(random); };
        const double open = 100.0 + 20.0 * unit(), close = open + 4.0 * (unit() - 0.5);
        Row row = {open,
                   std::max(open, close) + unit(),
                   std::min(open, close) - unit(),
                   close,
                   1000.0 * unit(),
                   Day * static_cast<double>(number)};
        if (Below(12) == 0) row[static_cast<std::size_t>(Below(row.size()))] = UndefinedValue;
        return row;
    }

private:
    std::mt19937 random;
};

std::unique_ptr<Compilation> Compiled(const std::vector<std::string>& expressions) {
    static const auto library = StudyLibrary::Load();
    Compiler compiler(*library, Columns);
    for (const std::string& expression : expressions) {
        const auto problem = compiler.Add(expression);
        EXPECT_FALSE(problem) << expression << ": " << problem->message;
    }
    return compiler.Finish();
}

// Each bar is stepped, and before that, where there are ticks, stepped with these and taken back.
Results RunAll(Compilation& compiled, const std::vector<Row>& rows, const std::vector<std::vector<Row>>& ticks = {}) {
    Graph& graph = compiled.graph;
    Results results;
    EXPECT_EQ(graph.Reset({Bars - 1, false}), S_OK);
    for (std::size_t bar = 0; bar < rows.size(); ++bar) {
        EXPECT_EQ(ticks.empty() ? S_OK : graph.Save(1), S_OK);
        for (std::size_t i = 0; !ticks.empty() && i < ticks[bar].size(); ++i) {
            EXPECT_EQ(graph.Step(ticks[bar][i].data(), static_cast<int>(bar)), S_OK);
            EXPECT_EQ(graph.Restore(1), S_OK);
        }
        EXPECT_EQ(graph.Step(rows[bar].data(), static_cast<int>(bar)), S_OK);
        std::vector<std::uint64_t>& values = results.emplace_back();
        for (const ResultColumn& result : compiled.results) {
            const double value = graph.Values()[result.place];
            values.push_back(std::isnan(value) ? 0 : std::bit_cast<std::uint64_t>(value));
        }
    }
    return results;
}

TEST(ExpressionLaw, TicksAndOtherExpressionsChangeNoBit) {
    for (unsigned seed = 0; seed < 400; ++seed) {
        RandomExpressions random(seed);
        std::vector<std::string> expressions;
        for (int i = 0; i < 3; ++i) expressions.push_back(random.Expression(1 + random.Below(4)));
        std::vector<Row> rows(Bars);
        std::vector<std::vector<Row>> ticks(Bars);
        for (std::size_t bar = 0; bar < rows.size(); ++bar) {
            rows[bar] = random.Bar(bar);
            for (int i = random.Below(3); i > 0; --i) ticks[bar].push_back(random.Bar(bar));
        }
        const Results straight = RunAll(*Compiled(expressions), rows);
        ASSERT_EQ(RunAll(*Compiled(expressions), rows, ticks), straight)
            << expressions[0] << "; " << expressions[1] << "; " << expressions[2];
        for (std::size_t i = 0; i < expressions.size(); ++i) {
            const Results alone = RunAll(*Compiled({expressions[i]}), rows);
            for (std::size_t bar = 0; bar < rows.size(); ++bar) {
                ASSERT_EQ(alone[bar][0], straight[bar][i]) << expressions[i] << " on bar " << bar;
            }
        }
    }
}

}  // namespace
}  // namespace sarvane::study
