#include "explain/explanation.h"

#include "bar_table.h"
#include "reference.h"
#include "run_study.h"

#include <cmath>
#include <fmt/format.h>
#include <gtest/gtest.h>

namespace sarvane::study {
namespace {

using Json = nlohmann::ordered_json;

class ExplanationTest : public testing::Test {
protected:
    Json Explain(const BarFile& file, const std::string& expression, std::size_t bar) const {
        return ExplanationJson(Recording(library, file, {expression}, {}, bar));
    }

    // What an expression of numbers comes to.
    double Value(const std::string& numbers) const {
        return RunTable(library, BarTable(one), {numbers}, {}).values[0][0];
    }

    // Works all steps of an operator out from the numbers that are shown, and gives how many there were.
    std::size_t CheckSteps(const Json& part, const std::string& name) const {
        for (const Json& step : part["steps"]) {
            if (!step.contains("numbers") || step["value"].is_null()) continue;
            const double told = step["value"].get<double>(), worked = Value(step["numbers"].get<std::string>());
            const double share = step["rounded"].get<bool>() ? 1e-5 : 1e-9;
            EXPECT_NEAR(worked, told, share * std::max({std::abs(worked), std::abs(told), 1.0})) << name << step;
        }
        return part["steps"].size();
    }

    const Library library;
    const BarFile bars{BAR_FILE};
    BarFile one = [] {
        BarFile made(BarHeader{"one", "date", {"close"}});
        made.Append({"2020-01-01", {1.0}});
        return made;
    }();
};

// Formulas stand in closed form for all but the machines of many states.
TEST_F(ExplanationTest, TheNumbersShownGiveTheValueOfEveryOperator) {
    const std::set<std::string> withoutFormula = {"CountOp",  "EventOffsetOp", "OverlapCntOp", "StochXOp",
                                                  "KaseCCSS", "KasePermStoch", "KasePeakOsc",  "TDREIOP",
                                                  "TDREBO",   "VolStop"};
    for (const std::string& expression : DrawnExpressions()) {
        for (const std::size_t bar : {std::size_t{700}, std::size_t{2211}, bars.BarCount() - 1}) {
            const Json explained = Explain(bars, expression, bar);
            for (const Json& part : explained["parts"]) {
                if (!part.contains("operator")) continue;
                const std::string keyword = part["operator"].get<std::string>();
                const std::size_t steps = CheckSteps(part, expression + " on " + std::to_string(bar) + ": ");
                EXPECT_EQ(steps > 0, !withoutFormula.contains(keyword)) << expression << " on " << bar << '\n' << part;
            }
        }
    }
}

// On the first bars and over gaps, where a formula is shown only if it holds.
TEST_F(ExplanationTest, GapsAndFirstBarsAreExplainedWithoutAFalseFormula) {
    BarFile gappy(BarHeader{"bars", "date", bars.Columns()});
    for (std::size_t bar = 0; bar < 90; ++bar) {
        BarRow row = bars.Row(bar);
        for (std::size_t column = 0; column < row.values.size(); ++column) {
            if ((bar * 5 + column) % 11 == 0) row.values[column] = UndefinedValue;
        }
        gappy.Append(row);
    }
    std::size_t steps = 0;
    for (const std::string& expression : DrawnExpressions()) {
        for (const std::size_t bar : {0u, 1u, 17u, 77u, 88u}) {
            const Json explained = Explain(gappy, expression, bar);
            for (const Json& part : explained["parts"]) {
                if (part.contains("operator"))
                    steps += CheckSteps(part, expression + " on " + std::to_string(bar) + ": ");
            }
            EXPECT_NE(ExplanationText(explained), "");
        }
    }
    EXPECT_GT(steps, 200u);
}

TEST_F(ExplanationTest, FunctionsAndStudiesAreTakenApart) {
    const std::string text =
        ExplanationText(Explain(bars, "if(cross(Close, SMA(Close, 3)), sum(Close, 3), -prev(Close))", 100));
    EXPECT_NE(text.find("cross("), std::string::npos) << text;
    for (const char* const study :
         {"RSI(Close, 14)", "ADX", "Bollinger(Close)", "Supertrend", "Ichimoku", "KST(Close)"})
        EXPECT_NE(ExplanationText(Explain(bars, study, 2000)).find(" = "), std::string::npos) << study;

    const ProgramRun run = RunStudy("explain " BAR_FILE " \"Sim(Close, 3)\" --at 2020-04-17");
    EXPECT_EQ(run.text, "Sim(Close, 3) on 2020-04-17: 2819.156738   (#1)\n\n"
                        "#1  Sim( close, 3)\n"
                        "    mean of the last `period` values\n"
                        "    reads     close 2874.560059\n"
                        "    total     = sum(x, 3)\n"
                        "              = (2783.360107 + 2799.550049 + 2874.560059) = 8457.470215\n"
                        "    curve1    = total / 3\n"
                        "              = 8457.470215 / 3 = 2819.156738\n"
                        "    bars      from 2020-04-15 to 2020-04-17\n");
    EXPECT_EQ(RunStudy("explain " BAR_FILE " Close --at 2021-01-01").status, 1);
    EXPECT_EQ(RunStudy("explain " BAR_FILE " --at 2020-04-17").status, 2);
}

}  // namespace
}  // namespace sarvane::study
