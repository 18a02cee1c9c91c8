#include "replay.h"

#include "reference.h"

#include <gtest/gtest.h>
#include <set>

namespace sarvane::study {
namespace {

// Real bars, now and then without a value.
BarFile SomeBars() {
    const BarFile file(BAR_FILE);
    BarFile bars(BarHeader{"bars", "date", file.Columns()});
    for (std::size_t bar = 0; bar < 500; ++bar) {
        BarRow row{std::string(file.Date(bar)), {}};
        for (std::size_t column = 0; column < file.Columns().size(); ++column)
            row.values.push_back((bar * 5 + column) % 97 == 0 ? UndefinedValue : file.Value(column, bar));
        bars.Append(row);
    }
    return bars;
}

TEST(Replay, TicksEndAsFinishedBarsForEveryOperator) {
    const Library library;
    const BarFile bars = SomeBars();
    std::set<std::string> replayed = {"TimeAvg"};  // see below
    for (const std::string& study : DrawnExpressions()) {
        const ReplayResult result = Replay(library, bars, study, {}, 5, 0.0);
        if (!result.withoutSnapshots.empty()) continue;
        EXPECT_EQ(result.differingBars, 0u) << study << ": " << result.firstDifference;
        EXPECT_EQ(result.updates, 2500u);
        EXPECT_GT(result.barsWithValues, 0u) << study << " compared nothing";
        replayed.insert(study.substr(0, study.find('(')));
    }
    for (const OperatorClass& known : library.Classes()) EXPECT_TRUE(replayed.contains(known.keyword)) << known.keyword;
}

// Its undo adds and subtracts each tick in a running sum: exact for whole numbers, else to a rounding.
TEST(Replay, ATickOfAnOperatorWithoutSnapshotsCanChangeALastDigit) {
    const Library library;
    const BarFile bars = SomeBars();
    const ReplayResult rounded = Replay(library, bars, "TimeAvg(Close / 3, 1, 10)", {}, 5, 0.0);
    EXPECT_GT(rounded.differingBars, 0u);
    EXPECT_EQ(rounded.withoutSnapshots, std::vector<std::string>{"TimeAvg"});
    const std::string text = ReplayText("x", bars, rounded);
    EXPECT_NE(text.find("differ from those of a run, first on 2000-01-"), std::string::npos) << text;
    EXPECT_NE(text.find("TimeAvg keeps no snapshots"), std::string::npos) << text;
    const ReplayResult whole = Replay(library, bars, "TimeAvg((Close > Open) + Close / Close, 1, 10)", {}, 5, 0.0);
    EXPECT_EQ(whole.differingBars, 0u) << whole.firstDifference;
}

TEST(Replay, TicksGoFromTheOpenOverHighAndLowToTheClose) {
    BarFile bars(BarHeader{"bars", "date", {"open", "high", "low", "close", "volume"}});
    bars.Append({"1", {4, 8, 2, 6, 5}});
    bars.Append({"2", {6, 8, 2, 4, 5}});
    bars.Append({"3", {6, 8, 2, UndefinedValue, 5}});
    using Ticks = std::vector<std::vector<double>>;
    EXPECT_EQ(TicksOf(bars, 0, 4), (Ticks{{4, 4, 4, 4, 5}, {4, 4, 2, 2, 5}, {4, 8, 2, 8, 5}, {4, 8, 2, 6, 5}}));
    EXPECT_EQ(TicksOf(bars, 1, 4), (Ticks{{6, 6, 6, 6, 5}, {6, 8, 6, 8, 5}, {6, 8, 2, 2, 5}, {6, 8, 2, 4, 5}}));
    EXPECT_EQ(TicksOf(bars, 2, 2), (Ticks(2, {6, 8, 2, UndefinedValue, 5})));
    EXPECT_EQ(TicksOf(bars, 0, 1), (Ticks{{4, 8, 2, 6, 5}}));
}

}  // namespace
}  // namespace sarvane::study
