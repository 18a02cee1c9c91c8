// libsarvane_study as hosts reach it, through study.h and study.hpp.

#include "sarvane/study.hpp"

#include "support/random_bars.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <gtest/gtest.h>

namespace sarvane {
namespace {

using Rows = std::vector<std::vector<double>>;
using Bits = std::vector<std::uint64_t>;

const std::vector<std::string> Columns = {"Open", "High", "Low", "Close", "Volume"};

const StudyLibrary& Library() {
    static const StudyLibrary library;
    return library;
}

std::uint64_t BitsOf(double value) { return std::bit_cast<std::uint64_t>(value); }

// Expressions made up from what the operators tell of their arguments, one in the other.
class Expressions {
public:
    explicit Expressions(unsigned seed) : random(seed) {}

    std::string Call(std::size_t op, int depth) {
        const SarvaneOperatorInfo info = Library().Operator(op);
        std::string text = std::string(info.keyword) + "(";
        for (std::size_t i = 0; i < info.argumentCount; ++i) {
            text += (i > 0 ? ", " : "") + Argument(op, i, depth);
        }
        return text + ")";
    }
    std::string Curve(int depth) {
        const std::string leaves[] = {"Open", "High", "Low", "Close", "Volume", "Close[1]", "(Close > Open)"};
        if (depth == 0) return random.Any(leaves);
        switch (random.Below(6)) {
        case 0: return "(" + Curve(depth - 1) + " - " + Curve(depth - 1) + ")";
        case 1: return "max(" + Curve(depth - 1) + ", fill(" + Curve(depth - 1) + "))";
        default:
            return Call(static_cast<std::size_t>(random.Below(static_cast<int>(Library().OperatorCount()))), depth - 1);
        }
    }

private:
    std::string Argument(std::size_t op, std::size_t index, int depth) {
        const SarvaneArgumentInfo argument = Library().Argument(op, index);
        switch (argument.kind) {
        case SARVANE_CURVE: return Curve(depth);
        case SARVANE_BAR: return "Bar";
        case SARVANE_WORD: return Library().Word(op, index, 0).text;
        default: break;
        }
        if (*argument.standard && random.Below(3) > 0) return argument.standard;
        return std::to_string(static_cast<int>(std::clamp(1.0 + random.Below(9), argument.least, argument.greatest)));
    }

    test::RandomBars random;
};

Rows MadeUpBars(unsigned seed, std::size_t count) {
    test::RandomBars bars(seed);
    Rows rows;
    while (rows.size() < count) rows.push_back(bars.Next(static_cast<int>(Columns.size())));
    return rows;
}

Study Compiled(const std::vector<std::string>& expressions) {
    Study study(Library(), Columns);
    auto settings = DefaultExpressionSettings;
    settings.allOutputs = 1;
    for (const std::string& expression : expressions) {
        try {
            study.Add(expression, settings);
        } catch (const StudyError& error) {
            ADD_FAILURE() << expression << ": " << error.what();
        }
    }
    return study;
}

// The results bar by bar, a row behind the other. Live, each bar is the last one when it comes.
Bits Stepped(Study& study, const Rows& rows, bool isLive) {
    auto settings = DefaultRunSettings;
    settings.barCount = isLive ? -1 : static_cast<std::int64_t>(rows.size());
    study.Reset(settings);
    Bits bits;
    std::vector<double> results(study.View().ResultCount());
    for (std::size_t bar = 0; bar < rows.size(); ++bar) {
        study.Step(static_cast<std::int64_t>(bar), rows[bar], results);
        std::ranges::transform(results, std::back_inserter(bits), BitsOf);
    }
    return bits;
}

Bits ResultsOf(const Series& series) {
    Bits bits;
    std::ranges::transform(series.Results(0, series.Info().barCount), std::back_inserter(bits), BitsOf);
    return bits;
}

std::vector<std::string> RandomExpressions(unsigned seed) {
    Expressions made(seed);
    std::vector<std::string> expressions;
    for (std::size_t op = 0; seed == 0 && op < Library().OperatorCount(); ++op) expressions.push_back(made.Call(op, 0));
    while (expressions.size() < 6) expressions.push_back(made.Curve(3));
    return expressions;
}

// Columns lie in one block, bar behind bar, and are read backwards from a mirrored copy by the other threads' jobs.
TEST(StudyLibraryTest, WholeColumnsGiveWhatBarsGiveInAnyNumberOfThreads) {
    for (unsigned seed = 0; seed < 12; ++seed) {
        Study study = Compiled(RandomExpressions(seed));
        const std::size_t width = Columns.size(), resultCount = study.View().ResultCount();
        std::vector<Rows> symbols;
        std::vector<std::vector<double>> blocks, outputs;
        for (unsigned symbol = 0; symbol < 5; ++symbol) {
            symbols.push_back(MadeUpBars(seed * 7 + symbol, 40 + 10 * symbol));
            std::vector<double>& block = blocks.emplace_back();
            for (const auto& row : symbols.back()) block.insert(block.end(), row.begin(), row.end());
            if (symbol % 2 == 1) std::ranges::reverse(block);
            outputs.emplace_back(symbols.back().size() * resultCount);
        }
        for (const std::size_t threads : {1u, 3u, 0u}) {
            std::vector<std::vector<SarvaneInput>> inputs(symbols.size());
            std::vector<std::vector<SarvaneOutput>> places(symbols.size());
            std::vector<SarvaneJob> jobs;
            for (std::size_t i = 0; i < symbols.size(); ++i) {
                const bool isMirrored = i % 2 == 1;
                const auto stride = static_cast<std::ptrdiff_t>(width);
                for (std::size_t column = 0; column < width; ++column) {
                    const double* const first = isMirrored ? &blocks[i].back() - column : &blocks[i][column];
                    inputs[i].push_back(
                        {study.View().ReadsColumn(column) ? first : nullptr, isMirrored ? -stride : stride});
                }
                std::ranges::fill(outputs[i], 12345.0);
                for (std::size_t result = 0; result < resultCount; ++result) {
                    places[i].push_back({&outputs[i][result], static_cast<std::ptrdiff_t>(resultCount)});
                }
                jobs.push_back({symbols[i].size(), inputs[i].data(), places[i].data(), SARVANE_FAILED});
            }
            study.RunMany(jobs, threads);
            study.Run(symbols[0].size(), inputs[0], places[0]);
            for (std::size_t i = 0; i < symbols.size(); ++i) {
                Bits bits;
                std::ranges::transform(outputs[i], std::back_inserter(bits), BitsOf);
                Study twin = study.Copy();
                ASSERT_EQ(bits, Stepped(twin, symbols[i], false)) << "seed " << seed << ", series " << i;
                ASSERT_EQ(jobs[i].status, SARVANE_OK);
            }
        }
    }
}

TEST(StudyLibraryTest, ColumnsMayHoldNansForGapsAndResultsTheirPlace) {
    Study study(Library(), {"Close"});
    study.Add("Close + 1");
    double values[] = {1.0, std::nan(""), SARVANE_UNDEFINED, 4.0};
    const SarvaneInput in = {values, 1};
    const SarvaneOutput out = {values, 1};
    auto settings = DefaultRunSettings;
    settings.nanIsGap = 1;
    study.Run(4, {&in, 1}, {&out, 1}, settings);
    EXPECT_EQ(values[0], 2.0);
    EXPECT_TRUE(std::isnan(values[1]) && std::isnan(values[2]));
    EXPECT_EQ(values[3], 5.0);
}

// Bars that come, tick, are corrected, inserted and removed in any order, with a stored copy in between, have the
// results of a run over the bars as they are.
TEST(StudyLibraryTest, ASeriesGivesWhatARunOverItsBarsGives) {
    for (unsigned seed = 0; seed < 24; ++seed) {
        std::vector<std::string> expressions = RandomExpressions(seed + 100);
        const auto isUndoOnly = [](const std::string& text) { return text.find("TimeAvg") != std::string::npos; };
        std::erase_if(expressions, isUndoOnly);  // after a tick its sums are rounded otherwise
        if (seed % 4 == 0) expressions.push_back("MedOp(Close, 5)");
        Study study = Compiled(expressions);
        auto settings = DefaultSeriesSettings;
        settings.snapshotDistance = seed % 5 * seed % 7;
        settings.mostSnapshots = 2 + seed % 3;
        Series series(study, settings);
        test::RandomBars bars(seed);
        Rows rows;
        std::vector<std::int64_t> times;
        for (int round = 0; round < 120; ++round) {
            const Bits before = ResultsOf(series);
            const std::vector<double> row = bars.Next(static_cast<int>(Columns.size()));
            const int what = rows.empty() ? 0 : bars.Below(10);
            const auto any = rows.empty() ? 0 : static_cast<std::size_t>(bars.Below(static_cast<int>(rows.size())));
            if (what < 5) {
                times.push_back(times.empty() ? 10 : times.back() + 1 + bars.Below(5));
                rows.push_back(row);
                series.Append(times.back(), row);
            } else if (what < 7) {
                rows.back() = row;
                series.ChangeLast(row);
            } else if (what == 7) {
                rows[any] = row;
                series.Correct(*series.Find(times[any]), row);
            } else if (what == 8) {  // all from `any` on go, and a few others come
                rows.resize(any);
                times.resize(any);
                std::vector<double> block;
                for (int left = bars.Below(8); left > 0; --left) {
                    times.push_back(times.empty() ? 0 : times.back() + 2);
                    rows.push_back(bars.Next(static_cast<int>(Columns.size())));
                    block.insert(block.end(), rows.back().begin(), rows.back().end());
                }
                series.Rewrite(any, std::span(times).subspan(any), block);
            } else {
                series = Series(Library(), series.Bytes());
            }
            Study twin = study.Copy();
            const Bits expected = Stepped(twin, rows, true), results = ResultsOf(series);
            ASSERT_EQ(results, expected) << "seed " << seed << ", round " << round << ", step " << what;
            const std::size_t width = study.View().ResultCount();
            for (std::size_t bar = 0; bar < rows.size() && what < 8; ++bar) {
                const auto begin = static_cast<std::ptrdiff_t>(bar * width),
                           end = begin + static_cast<std::ptrdiff_t>(width);
                const bool isNew = (bar + 1) * width > before.size();
                const bool differs =
                    isNew || !std::equal(results.begin() + begin, results.begin() + end, before.begin() + begin);
                ASSERT_EQ(std::ranges::count(series.Changed(), bar), differs) << "bar " << bar << ", round " << round;
            }
        }
        for (std::size_t bar = 0; bar < rows.size(); ++bar) EXPECT_EQ(series.Time(bar), times[bar]);
    }
}

TEST(StudyLibraryTest, StoredSeriesThatCantBeRepeatedAreRefused) {
    StudyLibrary library;
    library.Define("mine(x) = Sim(x, 2)", "mine.study");
    Study study(library, {"Close"});
    study.Add("mine(Close)");
    Series series(study);
    for (const double close : {1.0, 2.0, 4.0}) series.Append(static_cast<std::int64_t>(close), {&close, 1});
    const std::string whole = series.Bytes();
    EXPECT_EQ(Series(library, whole).Bytes(), whole);
    const auto isRefused = [&](const StudyLibrary& reader, const std::string& bytes) {
        try {
            Series(reader, bytes);
        } catch (const StudyError& error) {
            return error.status == SARVANE_WRONG_STREAM && *error.what() != '\0';
        }
        return false;
    };
    for (std::size_t i = 0; i < whole.size(); ++i) {
        std::string damaged = whole;
        damaged[i] = static_cast<char>(damaged[i] ^ 0x10);
        EXPECT_TRUE(isRefused(library, damaged)) << "byte " << i;
        EXPECT_TRUE(isRefused(library, whole.substr(0, i))) << "the first " << i;
    }
    library.Define("mine(x) = Sim(x, 3)", "mine.study");
    EXPECT_TRUE(isRefused(library, whole)) << "with another definition";
    EXPECT_TRUE(isRefused(Library(), whole)) << "without the definition";
}

TEST(StudyLibraryTest, TellsWhatItIsMadeOf) {
    Study study = Compiled({"Sim(Close, 3)", "up = Close > Sim(Close, 3)", "KaseCCSS(Bar)"});
    const StudyView view = study.View();
    EXPECT_STREQ(view.Result(1).title, "up");
    EXPECT_STREQ(view.Result(0).formula, "Sim( Close, 3)");
    EXPECT_EQ(view.Result(2).expression, 2u);
    EXPECT_EQ(view.Result(2).drawing, SARVANE_BAND);
    EXPECT_STREQ(view.Node(0).text, "Sim( Close, 3)");
    EXPECT_EQ(view.Node(0).uses, 2u) << "equal parts are one";
    EXPECT_EQ(view.Node(0).inputs[0], 3u);
    EXPECT_FALSE(view.ReadsColumn(4));
    EXPECT_THROW(view.Result(99), StudyError);
    try {
        study.Add("Simm(Close, 3)");
        ADD_FAILURE();
    } catch (const StudyError& error) {
        EXPECT_EQ(error.status, SARVANE_WRONG_TEXT);
        EXPECT_EQ(error.source, "expression 4");
        EXPECT_GT(error.length, 0u);
        EXPECT_FALSE(error.nearest.empty());
    }
    EXPECT_EQ(study.View().ResultCount(), view.ResultCount());
}

TEST(StudyLibraryTest, DescribesStudies) {
    StudyLibrary library;
    library.Define("# Twice.\n# x: what is doubled\nTwice(x, n = 2) = n * x", "mine.study");
    library.Define("RSI(x) = x", "mine.study");
    std::vector<std::string> names;
    for (std::size_t i = 0, count = library.ListDefinitions(); i < count; ++i) {
        const SarvaneDefinitionInfo info = library.Definition(i);
        names.emplace_back(info.name);
        if (names.back() == "Bollinger") {
            EXPECT_STREQ(library.DefinitionOutput(i, 1).text, "upper");
        }
        if (names.back() != "Twice") continue;
        EXPECT_STREQ(info.sentence, "Twice.");
        EXPECT_STREQ(info.file, "mine.study");
        EXPECT_STREQ(library.DefinitionArgument(i, 1).standard, "2");
        EXPECT_THROW(library.DefinitionArgument(i, 2), StudyError);
    }
    EXPECT_EQ(std::ranges::count(names, "Twice"), 1);
    EXPECT_EQ(std::ranges::count(names, "RSI"), 1) << "the later one";
    EXPECT_EQ(std::ranges::count(names, "Bollinger"), 1);
}

TEST(StudyLibraryTest, AnExpressionDrivesLikeAnOperator) {
    const auto op = Library().Compile("Sim(Close, 2) - Low", Columns);
    const double bars[][2] = {{1.0, 4.0}, {2.0, 6.0}};  // low and close
    double out = 0.0;
    ASSERT_EQ(op->Reset(0, nullptr), S_OK);
    EXPECT_EQ(op->Calculate(2, bars[0], 1, &out), S_OK);
    EXPECT_EQ(op->Calculate(2, bars[1], 1, &out), S_OK);
    EXPECT_EQ(out, 3.0);
    EXPECT_THROW(Library().Compile("f(x) = x", Columns), StudyError);
}

// In C, with arguments that no C++ caller would give.
TEST(StudyLibraryTest, BadCallsGetAStatus) {
    SarvaneStudy* study = nullptr;
    SarvaneSeries* series = nullptr;
    SarvaneLibrary* library = nullptr;
    SarvaneProblem* problem = nullptr;
    const char* const columns[] = {"Close", nullptr};
    double value = 1.0;
    EXPECT_EQ(SarvaneOpenLibrary("/no/such/file.so", &library, &problem), SARVANE_NO_LIBRARY);
    ASSERT_TRUE(problem);
    EXPECT_STRNE(problem->message, "");
    SarvaneFreeProblem(problem);
    EXPECT_EQ(SarvaneCreateStudy(Library().Get(), columns, 2, &study), SARVANE_WRONG_ARGUMENT);
    EXPECT_EQ(SarvaneCreateStudy(nullptr, columns, 1, &study), SARVANE_WRONG_ARGUMENT);
    ASSERT_EQ(SarvaneCreateStudy(Library().Get(), columns, 1, &study), SARVANE_OK);
    EXPECT_EQ(SarvaneAddExpression(study, "Close +", nullptr, nullptr), SARVANE_WRONG_TEXT);
    ASSERT_EQ(SarvaneAddExpression(study, "Sim(Close, 2)", nullptr, nullptr), SARVANE_OK);
    EXPECT_EQ(SarvaneStep(study, 0, &value, &value), SARVANE_NOT_RUNNING);
    ASSERT_EQ(SarvaneReset(study, nullptr), SARVANE_OK);
    EXPECT_EQ(SarvaneStep(study, 0, nullptr, &value), SARVANE_WRONG_ARGUMENT);
    EXPECT_EQ(SarvaneRestore(study, 7), SARVANE_NO_SNAPSHOT);
    EXPECT_EQ(SarvaneSave(study, 0), SARVANE_WRONG_ARGUMENT);
    EXPECT_EQ(SarvaneRun(study, nullptr, 1, nullptr, nullptr), SARVANE_WRONG_ARGUMENT);
    ASSERT_EQ(SarvaneCreateSeries(study, nullptr, &series), SARVANE_OK);
    EXPECT_EQ(SarvaneChangeLastBar(series, &value), SARVANE_WRONG_ARGUMENT) << "there is none";
    EXPECT_EQ(SarvaneAppendBar(series, 5, &value), SARVANE_OK);
    EXPECT_EQ(SarvaneAppendBar(series, 5, &value), SARVANE_WRONG_ARGUMENT) << "the same time";
    EXPECT_EQ(SarvaneCorrectBar(series, 1, &value), SARVANE_WRONG_ARGUMENT);
    EXPECT_EQ(SarvaneReadResults(series, 1, 1, &value), SARVANE_WRONG_ARGUMENT);
    SarvaneFreeSeries(series);
    EXPECT_EQ(SarvaneReadSeries(Library().Get(), "x", 1, &series, nullptr), SARVANE_WRONG_STREAM);
    EXPECT_FALSE(series) << "what can't be made is null";
    SarvaneBars* bars = nullptr;
    SarvaneFrame* frame = nullptr;
    const std::int64_t times[] = {3, 2};
    const SarvaneInput input = {&value, 0}, none = {};
    std::int64_t begin = 0, end = 0;
    EXPECT_EQ(SarvaneCreateBars("1X", columns, 1, nullptr, &bars, &problem), SARVANE_WRONG_TEXT);
    SarvaneFreeProblem(problem);
    EXPECT_EQ(SarvaneCreateBars("10volume", columns, 1, nullptr, &bars, nullptr), SARVANE_WRONG_TEXT);
    ASSERT_EQ(SarvaneCreateBars("1s", columns, 1, nullptr, &bars, nullptr), SARVANE_OK);
    EXPECT_EQ(SarvaneTakeRows(bars, 1, times, &none, nullptr, nullptr), SARVANE_WRONG_ARGUMENT);
    EXPECT_EQ(SarvaneTakeRows(bars, 2, times, &input, nullptr, nullptr), SARVANE_WRONG_ARGUMENT)
        << "the second is late";
    EXPECT_EQ(SarvaneCountBars(bars), 1u);
    EXPECT_EQ(SarvaneReadBars(bars, 0, 2, nullptr, nullptr), SARVANE_WRONG_ARGUMENT);
    EXPECT_EQ(SarvaneReadFrame("5bars", &frame, nullptr), SARVANE_WRONG_TEXT);
    ASSERT_EQ(SarvaneReadFrame("1d America/New_York", &frame, nullptr), SARVANE_OK);
    EXPECT_EQ(SarvaneGetStretch(frame, INT64_MAX, &begin, &end), SARVANE_WRONG_ARGUMENT);
    EXPECT_EQ(SarvaneGetStretch(frame, 0, &begin, &end), SARVANE_OK);
    EXPECT_EQ(begin, -19 * 3600);
    EXPECT_EQ(SarvaneSetBarLength(study, -1.0), SARVANE_WRONG_ARGUMENT);
    SarvaneFreeBars(bars);
    SarvaneFreeFrame(frame);
    SarvaneFreeStudy(study);
    SarvaneFreeStudy(nullptr);
    SarvaneFreeProblem(nullptr);
}

}  // namespace
}  // namespace sarvane
