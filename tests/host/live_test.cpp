#include "live.h"

#include "failure.h"

#include <bit>
#include <gtest/gtest.h>
#include <random>

namespace sarvane::study {
namespace {

const std::vector<std::string> Studies = {
    "Sim(Close, 3)", "MedOp(Close, 5)", "VolStop(Bar, 2, 3, 0)", "Exp(Sim(Close, 4), 3)", "BarMul(Bar, 2)",
};

using Values = std::vector<std::uint64_t>;

Values Present(const Study& study) {
    Values values;
    for (const Result& result : study.Results()) values.push_back(std::bit_cast<std::uint64_t>(*result.value));
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
                      EXPECT_NE(shown[bar], Present(running->Expressions())) << "shown without a change";
                      shown[bar] = Present(running->Expressions());
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
            EXPECT_EQ(shown[bar], Present(study)) << "bar " << bar << ", a snapshot every " << distance;
        }
        EXPECT_EQ(live.Finish().find("snapshots") != std::string::npos, distance > 0);
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
            EXPECT_EQ(Present(live.Expressions()), Present(study)) << slots << " slots, bar " << bar;
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
                          fmt::format("{} {}", running->Bars().Date(bar), *running->Expressions().Results()[0].value));
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
    EXPECT_EQ(Changes("Close", {{"12/31/2019", 1}, {"01/01/2020", 2}}).size(), 2u);
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
