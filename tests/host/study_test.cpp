#include "study.h"

#include "failure.h"
#include "sarvane/values.h"
#include "temporary_file.h"

#include <gtest/gtest.h>

namespace sarvane::study {
namespace {

constexpr double U = UndefinedValue;
constexpr const char* SixBars = "date,open,high,low,close,volume\n"
                                "1,1,3,1,2,10\n"
                                "2,2,5,1,4,20\n"
                                "3,4,7,4,6,\n"
                                "4,6,9,5,8,40\n"
                                "5,8,9,2,4,2\n"
                                "6,4,5,3,5,3\n";

class StudyTest : public testing::Test {
protected:
    // The values of an expression on all bars.
    std::vector<double> Values(const std::string& expression, RunSettings settings = {}) {
        Study study(library, bars, settings);
        study.Add(expression);
        study.Reset();
        std::vector<double> values;
        for (std::size_t bar = 0; bar < bars.BarCount(); ++bar) {
            study.Step(bar);
            values.push_back(*study.Results()[0].value);
        }
        return values;
    }

    const Library library;
    const TemporaryFile file{SixBars};
    const BarFile bars{file.Path()};
};

TEST_F(StudyTest, Calculates) {
    const std::pair<const char*, std::vector<double>> studies[] = {
        {"close", {2, 4, 6, 8, 4, 5}},
        {"Bar", {2, 4, 6, 8, 4, 5}},
        {"Bar.low", {1, 1, 4, 5, 2, 3}},
        {"sim(Close, 2)", {U, 3, 5, 7, 6, 4.5}},
        {"Sim(Bar, 2)", {U, 3, 5, 7, 6, 4.5}},
        {"Sim(Sim(Close, 2), 2)", {U, U, 4, 6, 6.5, 5.25}},
        {"Sim(Close, Volume)", {U, U, U, U, 6, 17.0 / 3}},
        {"Sim(7, 2)", {U, 7, 7, 7, 7, 7}},
        {"Bar + Volume", {12, 24, U, 48, 6, 8}},
        {"(Bar * -1).high", {-1, -1, -4, -5, -2, -3}},
        {"BarSub(Bar, Open)", {1, 2, 2, 2, -4, 1}},
        {"(Bar - Bar).open", {-1, -2, -2, -2, 4, -1}},
        {"Sim(Bar / 2, 1)", {1, 2, 3, 4, 2, 2.5}},
        {"BarAdd(Close, 1).low", {3, 5, 7, 9, 5, 6}},
        {"Close * Volume - 1", {19, 79, U, 319, 7, 14}},
        {"Close / (Volume - 2)", {0.25, 4.0 / 18, U, 8.0 / 38, U, 5}},
        {"Close > Open", {1, 1, 1, 1, 0, 1}},
        {"Volume <= 10", {1, 0, U, 0, 1, 1}},
        {"Close <> 4", {1, 0, 1, 1, 0, 1}},
        {"Close != 4 and not (Volume > 10)", {1, 0, U, 0, 0, 1}},
        {"Close = 4 or Open == 1", {1, 1, 0, 0, 1, 0}},
        {"Close[2]", {U, U, 2, 4, 6, 8}},
        {"Volume[1]", {U, 10, 20, U, 40, 2}},
        {"(Bar[1] - Bar).high", {U, -1, -1, -1, 5, 4}},
        {"abs(2 - Close) + sqrt(4) + round(2.5) + floor(-0.5)", {4, 6, 8, 10, 6, 7}},
        {"min(Close, Volume, 5) + max(1, 2)", {4, 6, U, 7, 4, 5}},
        {"log(Close - 2) * 0", {U, 0, 0, 0, 0, 0}},
        {"if(Volume > 10, Close, -1)", {-1, 4, U, 8, -1, -1}},
        {"sum(Volume, 2)", {U, 30, U, 60, 42, 5}},
        {"cross(Close, 5)", {U, 0, 1, 0, 0, 0}},
        {"defined(Volume)", {1, 1, 0, 1, 1, 1}},
        {"fill(Volume)", {10, 20, 20, 40, 2, 3}},
        {"fill(Volume, -Close)", {10, 20, -6, 40, 2, 3}},
        {"round(Close / 3, 2)", {0.67, 1.33, 2, 2.67, 1.33, 1.67}},
        {"n = 1 + 1; average = Sim(Close, n); average", {U, 3, 5, 7, 6, 4.5}},
        {"Sim(Close, minBars = 1, period = 2)", {2, 3, 5, 7, 6, 4.5}},
        {"half(x, by = 2) = x / by; half(half(Close), by = 0.5)", {2, 4, 6, 8, 4, 5}},
        {"Range(n = 1) = {top = Bar.high; size = top - Bar.low * n}; Range().size", {2, 4, 3, 4, 7, 2}},
        {"Range(n = 1) = {top = Bar.high; size = top - Bar.low * n}; Range(2) + Range - Range()", {3, 5, 7, 9, 9, 5}},
        {"Close = 4", {0, 1, 0, 0, 1, 0}},
        {"prev(0) + Volume", {10, 30, U, 70, 72, 75}},  // goes on from the last value there was
        {"rising = if(Close > prev(3), prev(3) + 1, 0); rising", {0, 1, 2, 3, 4, 5}},
        {"steps() = {_low = min(Low, prev(9)); low = _low; sum = prev(Close - Close) + _low}; steps().sum",
         {1, 2, 3, 4, 5, 6}},
        {"twice(x) = prev(x) + x; twice(prev(1) - 1)", {0, -1, -3, -7, -15, -31}},
    };
    for (const auto& [expression, values] : studies) EXPECT_EQ(Values(expression), values) << expression;
    EXPECT_EQ(Values("Bar + Volume", {.hold = true}), (std::vector<double>{12, 24, 26, 48, 6, 8}));
}

TEST_F(StudyTest, NamesThePlaceOfWhatCannotBeBound) {
    const std::pair<const char*, const char*> faults[] = {
        {"Simm(Close, 5)", "column 1: there is no operator and no study \"Simm\"; nearest: Sim"},
        {"1 + Foo", "column 5: "},
        {"Sim(Foo, 3)", "column 5: "},
        {"Sim(, 3)", "column 1: Sim needs `curve`, argument 0"},
        {"Sim(Close)", "column 1: Sim needs `period`, argument 1 (the curve is 0)"},
        {"Sim(Close, , 1)", "column 1: Sim needs `period`"},
        {"VolStop(Bar, 2)", "column 1: VolStop needs `signal`, argument 3 (the bar is 0)"},
        {"BarAdd(Bar)", "column 1: BarAdd needs `value`"},
        {"Sim(Close, 5, 3, 7)", "column 18: Sim takes 3 arguments at most"},
        {"BarAdd(Bar, 5, 3)", "column 16: BarAdd takes 2 arguments at most"},
        {"Sim(Close, period = 5, perid = 3)", "column 24: Sim has no argument \"perid\"; nearest: period"},
        {"Sim(Close, 5, period = 5)", "column 15: `period` is given twice"},
        {"Sim(period = 5, Close)", "column 17: an argument without a name"},
        {"Sim(Close, 5, digits = 2.5)", "column 24: `digits` is a whole number"},
        {"Sim(Close, 2).high", "column 15: no output \"high\"; there are curve1"},
        {"Close[Open]", "column 7: how many bars back is a constant whole number of at least 0"},
        {"Close[-1]", "column 7: how many bars back"},
        {"sum(Close, 0)", "column 12: how many values to add up"},
        {"min(Close)", "column 1: write min(a, b, ...)"},
        {"abs = 3", "column 1: \"abs\" is a word of the language"},
        {"Sim(x) = x; Sim(3)", "column 1: \"Sim\" is an operator"},
        {"f(x) = f(x); f(1)", "column 8: f is defined by itself"},
        {"a = b; b = a; a", "column 12: a is defined by itself"},
        {"f(x, x) = x; 1", "column 6: there are two of this name"},
        {"f(x) = x; f()", "column 11: f needs `x`"},
        {"f(x) = x; f", "column 11: f needs `x`"},
        {"f = 3; f(1)", "column 8: f takes no arguments"},
        {"Close = Open > 3", "column 14: a comparison is not compared again"},
        {"Open = 3; Close", "column 1: \"Open\" is a column of the data"},
        {"f(x, y = prev(x)) = y; f(1)", "column 10: a default can't be made of an expression's last value"},
        {"f(x) = {_y = x}; f(1)", "column 1: an output whose name does not start with"},
        {"f(x) = {_y = x; z = 1}; f(1)._y", "column 30: no output \"_y\""},
        {"Volume.x", "column 8: no output \"x\" here: this is a plain value"},
    };
    for (const auto& [expression, message] : faults) {
        try {
            Values(expression);
            ADD_FAILURE() << expression;
        } catch (const Failure& failure) {
            EXPECT_NE(std::string(failure.what()).find(message), std::string::npos) << failure.what();
        }
    }
}

TEST_F(StudyTest, HandsHistoryAndDigitsToEveryOperator) {
    const auto u = std::vector<double>(6, U);
    EXPECT_EQ(Values("Sim(Close, Close - Close + 2)"), (std::vector<double>{U, 3, 5, 7, 6, 4.5}));
    EXPECT_EQ(Values("Sim(Close, Close - Close + 2)", {.operators = {.history = 1}}), u);
    EXPECT_EQ(Values("Sim(Close, Close - Close + 2) + 0", {.operators = {.history = 2}})[5], 4.5);
    EXPECT_NE(Values("Exp(Close / 3, 4)", {.operators = {.digits = 4}}), Values("Exp(Close / 3, 4)"));
}

TEST_F(StudyTest, GoesBackToASnapshotThroughAllOperators) {
    Study study(library, bars);
    study.Add("Sim(Sim(Close, 2) + Volume, 2) - (Bar * 2).high");
    EXPECT_EQ(study.Depth(), 2u);
    EXPECT_EQ(study.Lookback(), 4u);
    study.Reset();
    study.Step(3);
    study.Save(1);
    study.Step(0);
    study.Step(4);
    study.Step(5);
    const double value = *study.Results()[0].value;
    study.Step(2);
    study.Restore(1);
    study.Step(0);
    study.Step(4);
    study.Step(5);
    EXPECT_EQ(*study.Results()[0].value, value);
    EXPECT_NE(value, U);
    EXPECT_THROW(study.Restore(2), Failure);
}

TEST_F(StudyTest, AsksForAColumnOnlyWhenItIsNeeded) {
    const TemporaryFile closes("date,close\n1,2\n");
    const BarFile few(closes.Path());
    Study study(library, few);
    study.Add("Sim(Bar, 1)");
    study.Add("Sim(Close, 1, 1)");
    EXPECT_THROW(study.Add("Bar * 2"), Failure);
}

TEST_F(StudyTest, SaysWhatIsDrawnInTheWordsOfItsOperators) {
    struct Drawn {
        const char* expression;
        const char* formula;
        bool inPriceUnits;
    };
    const Drawn drawn[] = {
        {"CLOSE", "close", true},
        {"volume", "volume", false},
        {"Sim(Sim(Close,2),3)", "Sim( Sim( close, 2), 3)", true},
        {"Sim(Volume, 2)", "Sim( volume, 2)", false},
        {"Sim(Close,  Volume)", "Sim(close, volume)", true},  // the operator's formula has no place for the second
        {"Correl(Close, Volume, 3)", "Correl( close, volume, 3)", false},
        {"Bar + Volume", "(Bar+volume)", true},
        {"(Bar / 2).high", "(Bar/2).high", false},
        {"(High + Low) / 2", "((high + low) / 2)", true},
        {"2 * -Close", "(2 * -close)", true},
        {"1 / Close", "(1 / close)", false},
        {"Close * Volume", "(close * volume)", false},
        {"Close > Open", "(close > open)", false},
    };
    for (const auto& [expression, formula, inPriceUnits] : drawn) {
        Study study(library, bars);
        study.Add(expression);
        EXPECT_EQ(study.Results()[0].formula, formula);
        EXPECT_EQ(study.Results()[0].inPriceUnits, inPriceUnits) << expression;
    }
}

}  // namespace
}  // namespace sarvane::study
