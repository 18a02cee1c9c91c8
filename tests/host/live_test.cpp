#include "live.h"

#include "failure.h"

#include <bit>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <map>
#include <random>

namespace sarvane::study {
namespace {

const std::vector<std::string> Studies = {
    "Sim(Close, 3)", "MedOp(Close, 5)", "VolStop(Bar, 2, 3, 0)", "Exp(Sim(Close, 4), 3)", "BarMul(Bar, 2)",
};

using Values = std::vector<std::uint64_t>;

Values Present(const std::vector<Result>& results) {
    Values values;
    for (const Result& result : results) values.push_back(std::bit_cast<std::uint64_t>(*result.value));
    return values;
}

// Ticks, new bars and corrections in any order leave what was shown last of each bar as a run over the final bars
// gives it, whatever the distance of the snapshots.
TEST(Live, ShowsWhatARunOverTheBarsGives) {
    const Library library;
    for (const std::size_t distance : {0u, 1u, 4u, 1000u}) {
        std::vector<Values> shown;
        const Live* running = nullptr;
        Live live(library, {"bars", "date", {"open", "high", "low", "close"}}, Studies, true, {}, distance,
                  [&](std::size_t bar) {
                      shown.resize(std::max(shown.size(), bar + 1));
                      EXPECT_NE(shown[bar], Present(running->Results())) << "shown without a change";
                      shown[bar] = Present(running->Results());
                  });
        running = &live;
        std::mt19937 random(7);
        for (int i = 0; i < 400; ++i) {
            const auto count = static_cast<unsigned>(live.Bars().BarCount());
            const unsigned what = static_cast<unsigned>(random() % 20), price = static_cast<unsigned>(random() % 50);
            const unsigned bar = count == 0 || what < 6    ? count
                                 : what == 19 && count > 9 ? static_cast<unsigned>(random() % count)
                                                           : count - 1;
            const double close = what == 7 ? UndefinedValue : 100.0 + price / 3.0;
            live.Take({std::to_string(bar), {100, 130.0 + price, 90.0 - price, close}});
        }
        Study study(library, live.Bars());
        for (const std::string& expression : Studies) study.Add(expression, true);
        study.Reset();
        ASSERT_EQ(shown.size(), live.Bars().BarCount());
        for (std::size_t bar = 0; bar < shown.size(); ++bar) {
            study.Step(bar);
            EXPECT_EQ(shown[bar], Present(study.Results())) << "bar " << bar << ", a snapshot every " << distance;
        }
        EXPECT_EQ(live.Finish().find("snapshots") != std::string::npos, distance > 0);
    }
}

// Bars that come as a whole series, each time with some bars gone, added and changed at any place.
TEST(Live, TakesOverWhatDiffersInAnotherSeries) {
    const Library library;
    const BarHeader header{"bars", "date", {"open", "high", "low", "close"}};
    for (const std::size_t distance : {0u, 1u, 4u}) {
        std::map<std::string, Values> latest;
        const Live* running = nullptr;
        Live live(library, header, Studies, true, {}, distance, [&](std::size_t bar) {
            const std::string date(running->Bars().Date(bar));
            EXPECT_NE(latest[date], Present(running->Results())) << "shown without a change";
            latest[date] = Present(running->Results());
        });
        running = &live;
        std::mt19937 random(3);
        for (int round = 0; round < 40; ++round) {
            BarFile series(header);
            Live::Difference expected;
            const BarFile& before = live.Bars();
            const unsigned length = 20 + static_cast<unsigned>(random() % 10),
                           kept = 4 + static_cast<unsigned>(random() % 20);
            std::size_t old = 0;
            for (unsigned day = 0; day < length; ++day) {
                const std::string date = fmt::format("2020-01-{:02}", day + 1);
                const bool isOld = old < before.BarCount() && before.Date(old) == date;
                const bool isLeft = day > 0 && random() % kept == 0, isChanged = random() % kept == 0;
                old += isOld;
                if (isLeft) {
                    if (expected.goneBars == 0 && isOld) expected.firstGone = date;
                    expected.goneBars += isOld;
                    continue;
                }
                BarRow row = isOld ? before.Row(old - 1) : BarRow{date, {100, 140, 70, 80.0 + day}};
                if (isOld && isChanged) {
                    row.values[3] += 1.0;
                    ++(old == before.BarCount() ? expected.ticks : expected.corrections);
                }
                expected.newBars += !isOld;
                series.Append(row);
            }
            for (; old < before.BarCount(); ++old) {
                if (expected.goneBars++ == 0) expected.firstGone = before.Date(old);
            }
            const Live::Difference difference = live.TakeOver(series);
            EXPECT_EQ(difference.ticks, expected.ticks);
            EXPECT_EQ(difference.corrections, expected.corrections);
            EXPECT_EQ(difference.newBars, expected.newBars);
            EXPECT_EQ(difference.goneBars, expected.goneBars);
            EXPECT_EQ(difference.firstGone, expected.firstGone);
            std::erase_if(latest, [&](const auto& bar) {
                for (std::size_t i = 0; i < live.Bars().BarCount(); ++i) {
                    if (live.Bars().Date(i) == bar.first) return false;
                }
                return true;
            });
            // A tick and a new bar go on from there.
            live.Take({std::string(series.Date(series.BarCount() - 1)), {100, 150, 60, 90}});
            live.Take({"2020-02-01", {100, 150, 60, round + 0.5}});

            Study study(library, live.Bars());
            for (const std::string& expression : Studies) study.Add(expression, true);
            study.Reset();
            for (std::size_t bar = 0; bar < live.Bars().BarCount(); ++bar) {
                study.Step(bar);
                EXPECT_EQ(latest[std::string(live.Bars().Date(bar))], Present(study.Results()))
                    << "round " << round << ", bar " << bar << ", a snapshot every " << distance;
            }
        }
        live.TakeOver(BarFile(header));
        EXPECT_EQ(live.Bars().BarCount(), 0u);
        live.Take({"2019-01-01", {1, 2, 1, 2}});
        EXPECT_EQ(live.Bars().BarCount(), 1u);
    }
}

// What stays when the slots run out still leads back to the bars that it was saved before.
TEST(Live, KeepsEveryOtherSnapshotWhenSlotsRunOut) {
    const Library library;
    for (const unsigned slots : {2u, 5u}) {
        Live live(
            library, {"bars", "date", {"close"}}, {"AMAOp(Close, 10, 2, 30)"}, false, {}, 3, [](std::size_t) {}, slots);
        for (unsigned bar = 0; bar < 60; ++bar) live.Take({std::to_string(bar), {bar % 7 * 1.5}});
        for (unsigned bar = 60; bar-- > 0;) {
            live.Take({std::to_string(bar), {bar % 8 / 3.0}});
            Study study(library, live.Bars());
            study.Add("AMAOp(Close, 10, 2, 30)");
            study.Reset();
            for (std::size_t step = 0; step < 60; ++step) study.Step(step);
            EXPECT_EQ(Present(live.Results()), Present(study.Results())) << slots << " slots, bar " << bar;
        }
        EXPECT_NE(live.Finish().find(slots == 2 ? ", every 24 bars" : ", every 12 bars"), std::string::npos) << slots;
    }
}

class LiveTest : public testing::Test {
protected:
    // The changes that rows of a date and a close make to an expression, as "date value".
    std::vector<std::string> Changes(const std::string& expression,
                                     const std::vector<std::pair<std::string, double>>& rows) {
        std::vector<std::string> changes;
        const Live* running = nullptr;
        Live live(library, {"bars", "date", {"open", "high", "low", "close"}}, {expression}, false, {}, 2,
                  [&](std::size_t bar) {
                      changes.push_back(
                          fmt::format("{} {}", running->Bars().Date(bar), *running->Results()[0].value));
                  });
        running = &live;
        for (const auto& [date, close] : rows) live.Take({date, {close, close + 1, close - 1, close}});
        return changes;
    }

    const Library library;
};

using Texts = std::vector<std::string>;

TEST_F(LiveTest, ShowsEachChangeOnce) {
    EXPECT_EQ(Changes("Close > 5", {{"a", 1}, {"a", 2}, {"a", 6}, {"b", 6}, {"a", 5}}),
              (Texts{"a 0", "a 1", "b 1", "a 0"}));
}

// Its levels are for the end of the series: of a run they show on the last bars alone.
TEST_F(LiveTest, TakesEachBarForTheLastOneWhenItComes) {
    EXPECT_EQ(Changes("TDREBO(Bar, 0, 0.5)", {{"a", 4}, {"b", 5}, {"c", 7}, {"c", 8}}),
              (Texts{"a -2147483648", "b 5", "c 6"}));
}

TEST_F(LiveTest, AMissingTickDoesNotTakeBackTheBarBefore) {
    constexpr double U = UndefinedValue;
    EXPECT_EQ(Changes("TimeAvg(Close, 1, 2)", {{"a", 1}, {"b", U}, {"b", 3}, {"b", 5}, {"c", 7}, {"a", 3}}),
              (Texts{fmt::format("a {}", U), fmt::format("b {}", U), "b 2", "b 3", "c 6", "b 4"}));
}

TEST_F(LiveTest, RefusesABarThatComesTooLate) {
    EXPECT_THROW(Changes("Close", {{"2020-01-02", 1}, {"2020-01-01", 1}}), Failure);
    EXPECT_THROW(Changes("Close", {{"", 1}}), Failure);
    EXPECT_THROW(Changes("Close", {{"2020-01-02", 1}, {"tomorrow", 1}}), Failure);
    EXPECT_EQ(Changes("Close", {{"12/31/2019", 1}, {"01/01/2020", 2}, {"2020-1-1", 3}}),
              (Texts{"12/31/2019 1", "01/01/2020 2", "01/01/2020 3"}));
    EXPECT_EQ(Changes("Close", {{"01/02/2020", 1}, {"02/02/2020", 2}, {"13/02/2020", 3}, {"01/03/2020", 4}}).size(), 4u)
        << "the first dates turn out to have the day first";
}

TEST(Durations, CountsByEighths) {
    Durations durations;
    EXPECT_EQ(durations.Quantile(0.5), 0.0);
    for (std::uint64_t i = 1; i <= 1000; ++i) durations.Add(i);
    EXPECT_NEAR(durations.Quantile(0.5), 500, 500 / 8.0);
    EXPECT_NEAR(durations.Quantile(0.99), 990, 990 / 8.0);
    durations.Add(~std::uint64_t{0});
    EXPECT_GT(durations.Quantile(1.0), 1e19);
}

}  // namespace
}  // namespace sarvane::study
