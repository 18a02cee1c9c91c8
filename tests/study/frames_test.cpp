// Longer frames: which bars belong together, how they are made of rows that come in any order, and that `at` shows nothing
// that was not known.

#include "compilation.h"
#include "frames/frame_bars.h"
#include "series.h"
#include "series_stream.h"

#include <algorithm>
#include <bit>
#include <gtest/gtest.h>
#include <random>

namespace sarvane::study {
namespace {

using namespace std::chrono;

constexpr std::int64_t Second = 1000000000;
const std::vector<std::string> Columns = {"open", "high", "low", "close", "volume", "time"};

std::int64_t At(int year, unsigned month, unsigned day, int hour = 0, int minute = 0) {
    const sys_days date = year_month_day(std::chrono::year(year), std::chrono::month(month), std::chrono::day(day));
    return sys_seconds(date + hours(hour) + minutes(minute)).time_since_epoch().count();
}

std::shared_ptr<const Frame> Read(const std::string& text) {
    Outcome<Frame> frame = Frame::Read(text);
    EXPECT_TRUE(frame) << text << ": " << (frame ? "" : frame.Fault().message);
    return std::make_shared<const Frame>(frame ? std::move(*frame) : *Frame::Read("1d"));
}

TEST(Frame, FollowsTheClocksOfItsZone) {
    struct Case {
        std::string frame;
        std::int64_t time, begin, end;
    };
    // New York's clocks went forward on 10 March 2024 and back on 3 November, Berlin's on 31 March and 27 October; Lord
    // Howe moves them by half an hour, and Dublin has its winter as the exception.
    const Case cases[] = {
        {"5min", At(2024, 1, 2, 9, 33), At(2024, 1, 2, 9, 30), At(2024, 1, 2, 9, 35)},
        {"7min", At(2024, 1, 2, 23, 59), At(2024, 1, 2, 23, 55), At(2024, 1, 3)},
        {"1d", At(1969, 12, 31, 23), At(1969, 12, 31), At(1970, 1, 1)},
        {"1W", At(2024, 1, 7, 23), At(2024, 1, 1), At(2024, 1, 8)},
        {"2W", At(1970, 1, 5), At(1970, 1, 5), At(1970, 1, 19)},
        {"1M", At(2024, 2, 29), At(2024, 2, 1), At(2024, 3, 1)},
        {"3M", At(1968, 2, 29), At(1968, 1, 1), At(1968, 4, 1)},
        {"1Y", At(2024, 7, 1), At(2024, 1, 1), At(2025, 1, 1)},
        {"1h +05:30", At(2024, 1, 2, 9, 45), At(2024, 1, 2, 9, 30), At(2024, 1, 2, 10, 30)},
        {"1d America/New_York", At(2024, 3, 10, 12), At(2024, 3, 10, 5), At(2024, 3, 11, 4)},
        {"1d america/new_york", At(2024, 11, 3, 12), At(2024, 11, 3, 4), At(2024, 11, 4, 5)},
        {"1h 09:30 America/New_York", At(2024, 3, 8, 14, 31), At(2024, 3, 8, 14, 30), At(2024, 3, 8, 15, 30)},
        {"1h 09:30 America/New_York", At(2024, 3, 11, 13, 31), At(2024, 3, 11, 13, 30), At(2024, 3, 11, 14, 30)},
        {"4h 00:00 Europe/Berlin", At(2024, 3, 31, 20, 30), At(2024, 3, 31, 19), At(2024, 3, 31, 22)},
        {"4h 00:00 Europe/Berlin", At(2024, 10, 27, 22, 30), At(2024, 10, 27, 22), At(2024, 10, 27, 23)},
        {"1W 18:00 America/New_York", At(2024, 3, 12), At(2024, 3, 11, 22), At(2024, 3, 18, 22)},
        {"1d Australia/Lord_Howe", At(2024, 4, 6, 20), At(2024, 4, 6, 13), At(2024, 4, 7, 13, 30)},
        {"1d Europe/Dublin", At(2045, 7, 1, 12), At(2045, 6, 30, 23), At(2045, 7, 1, 23)},
        {"1d Asia/Tokyo", At(2024, 7, 1, 20), At(2024, 7, 1, 15), At(2024, 7, 2, 15)},
        {"1d 02:30 America/New_York", At(2024, 3, 10, 12), At(2024, 3, 10, 7), At(2024, 3, 11, 6, 30)},  // left out
        {"1d 01:30 America/New_York", At(2024, 11, 3, 5, 45), At(2024, 11, 3, 5, 30), At(2024, 11, 4, 6, 30)},  // twice
    };
    for (const Case& known : cases) {
        const Stretch stretch = Read(known.frame)->Around(known.time);
        EXPECT_EQ(stretch.begin, known.begin) << known.frame;
        EXPECT_EQ(stretch.end, known.end) << known.frame;
    }
    // Stretches leave no moment out and share none, through all changes of clocks.
    for (const char* const text :
         {"3h 09:30 America/New_York", "1d Europe/Dublin", "25min Australia/Lord_Howe", "1W 17:00 Pacific/Apia"}) {
        const auto frame = Read(text);
        std::int64_t time = At(2011, 12, 25);
        for (int i = 0; i < 3000; ++i) {
            const Stretch stretch = frame->Around(time);
            ASSERT_EQ(stretch.begin, frame->Around(stretch.begin).begin) << text;
            ASSERT_EQ(stretch.end, frame->Around(stretch.end - 1).end) << text;
            ASSERT_EQ(stretch.end, frame->Around(stretch.end).begin) << text << " " << i;
            time = stretch.end;
        }
    }
}

TEST(Frame, RefusesWhatIsNone) {
    const std::pair<std::string, std::string> cases[] = {{"", "no frame"},
                                                         {"1", "no frame"},
                                                         {"W", "no frame"},
                                                         {"5m", "5min"},
                                                         {"0d", "above 0"},
                                                         {"-1d", "above 0"},
                                                         {"1.5h", "whole"},
                                                         {"24h", "in days"},
                                                         {"1e9d", "whole"},
                                                         {"0.5bars", "whole"},
                                                         {"nanrenko", "above 0"},
                                                         {"infvolume", "above 0"},
                                                         {"1e999range", "no frame"},
                                                         {"2renko 09:30", "session"},
                                                         {"1d 9", "time zone"},
                                                         {"1d 24:00", "session"},
                                                         {"1d 9:60", "session"},
                                                         {"1d 09:30-", "session"},
                                                         {"1d 09:30 Nowhere/At_All", "time zone"},
                                                         {"1d UTC UTC", "behind"},
                                                         {"1d +25:00", "time zone"},
                                                         {"heikinashi 1d", "no frame"},
                                                         {"1000000M", "calendar"}};
    for (const auto& [text, message] : cases) {
        const Outcome<Frame> frame = Frame::Read(text);
        ASSERT_FALSE(frame) << text;
        EXPECT_NE(frame.Fault().message.find(message), std::string::npos) << text << ": " << frame.Fault().message;
    }
}

// ---- Bars of rows

using Row = std::vector<double>;
struct TimedRow {
    std::int64_t time;
    Row values;
};
using Bars = std::vector<std::pair<std::int64_t, std::vector<std::uint64_t>>>;

class Random {
public:
    explicit Random(unsigned seed) : engine(seed) {}
    int Below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(engine); }
    double Unit() { return std::uniform_real_distribution<double>()(engine); }
    Row Values(double time) {
        price += 3.0 * (Unit() - 0.5);
        Row row = {price, price + Unit(), price - Unit(), price + Unit() - 0.5, 1000.0 * Unit(), time};
        if (Below(15) == 0) row[static_cast<std::size_t>(Below(5))] = UndefinedValue;
        if (Below(40) == 0) row[static_cast<std::size_t>(Below(5))] = std::numeric_limits<double>::quiet_NaN();
        return row;
    }

private:
    std::mt19937 engine;
    double price = 100.0;
};

const char* const Frames[] = {"1W",
                              "2d",
                              "1M",
                              "3bars",
                              "2500volume",
                              "2e5value",
                              "6range",
                              "1.5renko",
                              "90min",
                              "heikinashi",
                              "1d 09:30-16:00 America/New_York"};

Bars BarsOf(const FrameBars& made) {
    Bars bars;
    for (std::size_t bar = 0; bar < made.Count(); ++bar) {
        auto& [time, values] = bars.emplace_back(made.Time(bar), std::vector<std::uint64_t>());
        for (std::size_t column = 0; column < Columns.size(); ++column) {
            const double value = made.Value(column, bar);
            values.push_back(value != value ? 1 : std::bit_cast<std::uint64_t>(value));
        }
    }
    return bars;
}

FrameBars Made(const std::string& frame, const FrameBarsSettings& settings, const std::vector<TimedRow>& rows) {
    auto made = FrameBars::Over(Read(frame), Columns, settings);
    EXPECT_TRUE(made);
    BarRange changed;
    for (const TimedRow& row : rows) EXPECT_EQ(made->Take(row.time, row.values.data(), changed), S_OK) << frame;
    return std::move(*made);
}

// Late rows, and ones that come again, give the bars that their final order gives, and what is told to have changed has.
TEST(FrameBars, AreThoseOfTheRowsInTheOrderOfTheirTimes) {
    for (const std::string frame : Frames) {
        for (unsigned seed = 0; seed < 60; ++seed) {
            Random random(seed);
            const FrameSource source = seed % 2 ? FrameSource::Trades : FrameSource::Bars;
            const bool fills = frame == "90min" && seed % 3 == 0;
            auto open = FrameBars::Over(Read(frame), Columns, {source, fills, true});
            ASSERT_TRUE(open);
            std::vector<TimedRow> rows;
            std::int64_t now = At(2024, 3, 7) * Second;
            Bars before;
            for (int i = 0; i < 60; ++i) {
                const std::int64_t step = random.Below(4) == 0 ? 86400 : 1800;
                if (random.Below(3) > 0) now += random.Below(4) * step * Second + random.Below(2);
                const std::int64_t time = random.Below(6) == 0 ? now - random.Below(100) * step * Second / 7 : now;
                const TimedRow row = {time, random.Values(static_cast<double>(time / Second))};
                BarRange changed;
                ASSERT_EQ(open->Take(row.time, row.values.data(), changed), S_OK);
                const auto known = std::ranges::lower_bound(rows, time, {}, &TimedRow::time);
                if (source == FrameSource::Bars && known != rows.end() && known->time == time) {
                    *known = row;
                } else {
                    rows.insert(std::ranges::upper_bound(rows, time, {}, &TimedRow::time), row);
                }
                const Bars bars = BarsOf(*open);
                ASSERT_EQ(bars, BarsOf(Made(frame, {source, fills, false}, rows))) << frame << ", seed " << seed;
                for (std::size_t bar = 0; bar < std::min(bars.size(), before.size()); ++bar) {
                    const bool isTold = bar >= changed.first && bar < changed.end;
                    ASSERT_TRUE(isTold || bars[bar] == before[bar]) << frame << ", bar " << bar;
                }
                before = bars;
            }
        }
    }
}

TEST(FrameBars, FillTheSessionAlone) {
    const auto made = [](const std::string& frame, const std::vector<std::int64_t>& times) {
        std::vector<TimedRow> rows;
        for (const std::int64_t time : times) rows.push_back({time * Second, {1.0, 3.0, 0.5, 2.0, 7.0, 0.0}});
        std::vector<std::int64_t> begins;
        const FrameBars bars = Made(frame, {FrameSource::Bars, true, false}, rows);
        for (std::size_t bar = 0; bar < bars.Count(); ++bar) begins.push_back(bars.Time(bar) / Second);
        if (bars.Count() > 2) {
            EXPECT_EQ(bars.Value(1, 1), 2.0);  // the last close
            EXPECT_EQ(bars.Value(4, 1), 0.0);
        }
        return begins;
    };
    using Times = std::vector<std::int64_t>;
    EXPECT_EQ(made("30min", {At(2024, 3, 8, 22), At(2024, 3, 8, 23, 10)}),
              (Times{At(2024, 3, 8, 22), At(2024, 3, 8, 22, 30), At(2024, 3, 8, 23)}));
    EXPECT_EQ(made("30min", {At(2024, 3, 8, 23), At(2024, 3, 9, 1)}), (Times{At(2024, 3, 8, 23), At(2024, 3, 9, 1)}));
    EXPECT_EQ(made("2h 00:00-24:00", {At(2024, 3, 8, 21), At(2024, 3, 9, 3)}),
              (Times{At(2024, 3, 8, 20), At(2024, 3, 8, 22), At(2024, 3, 9, 0), At(2024, 3, 9, 2)}));
    // Over a weekend on which the clocks change: to the close on Friday, and from the opening on Monday.
    EXPECT_EQ(
        made("1h 09:30-12:00 America/New_York", {At(2024, 3, 8, 15, 40), At(2024, 3, 11, 14, 40)}),
        (Times{At(2024, 3, 8, 15, 30), At(2024, 3, 8, 16, 30), At(2024, 3, 11, 13, 30), At(2024, 3, 11, 14, 30)}));
}

// ---- at(frame, x)

std::unique_ptr<Compilation> Compiled(const std::vector<std::string>& expressions) {
    static const auto library = StudyLibrary::Load();
    Compiler compiler(*library, Columns);
    for (const std::string& expression : expressions) {
        const auto problem = compiler.Add(expression);
        EXPECT_FALSE(problem) << expression << ": " << problem->message;
    }
    return compiler.Finish();
}

std::vector<double> RunOver(const std::string& expression, const std::vector<Row>& rows) {
    const auto compiled = Compiled({expression});
    std::vector<double> values;
    EXPECT_EQ(compiled->graph.Reset({}), S_OK);
    for (const Row& row : rows) {
        EXPECT_EQ(compiled->graph.Step(row.data(), 0), S_OK);
        values.push_back(compiled->graph.Values()[compiled->results[0].place]);
    }
    return values;
}

bool AreSame(double a, double b) {
    return a != a ? b != b : std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

const char* const Parts[] = {"Sim(Close, 3)",    "RSI(Close, 3)",        "KaseCCSS(Bar).integer1",
                             "Close - Open[2]",  "MedOp(High - Low, 4)", "VWMA(Close, 3)",
                             "prev(0) + Volume", "HiLev(High, High, 4)", "Supertrend(4, 1)"};

// On each bar: what the expression gives on the last bar, or the last closed one, of those that the data up to there make.
TEST(At, ShowsWhatTheDataUpToThereGive) {
    for (const std::string frame : Frames) {
        for (unsigned seed = 0; seed < 9; ++seed) {
            Random random(seed);
            std::vector<Row> rows;
            std::vector<TimedRow> timed;
            for (std::int64_t time = At(2024, 2, 26, 15); rows.size() < 70; time += (1 + random.Below(3)) * 36000) {
                rows.push_back(random.Values(static_cast<double>(time)));
                timed.push_back({time * Second, rows.back()});
            }
            const std::string part = Parts[seed % std::size(Parts)];
            const std::vector<double> forming = RunOver("at('" + frame + "', " + part + ")", rows);
            const std::vector<double> closed = RunOver("at('" + frame + "', " + part + ", closed)", rows);
            for (std::size_t bar = 0; bar < rows.size(); ++bar) {
                const FrameBars known = Made(frame, {FrameSource::Bars, false, false},
                                             {timed.begin(), timed.begin() + static_cast<std::ptrdiff_t>(bar) + 1});
                std::vector<Row> longer;
                for (std::size_t i = 0; i < known.Count(); ++i) {
                    Row& row = longer.emplace_back();
                    for (std::size_t column = 0; column < Columns.size(); ++column)
                        row.push_back(known.Value(column, i));
                }
                const std::vector<double> values = RunOver(part, longer);
                const double last = values.empty() ? UndefinedValue : values.back();
                const double before = values.size() < 2 ? UndefinedValue : values[values.size() - 2];
                ASSERT_TRUE(AreSame(forming[bar], last)) << frame << " " << part << ", bar " << bar;
                ASSERT_TRUE(AreSame(closed[bar], before)) << frame << " " << part << ", bar " << bar << " closed";
            }
        }
    }
}

// Ticks, corrections, bars that go, and a series that was stored give what a run over the bars as they are gives.
TEST(At, GoesThroughCorrectionsAndStoredSeries) {
    static const auto library = StudyLibrary::Load();
    for (unsigned seed = 0; seed < 60; ++seed) {
        Random random(seed);
        const std::string frame = Frames[seed % std::size(Frames)], part = Parts[seed % std::size(Parts)];
        const std::vector<std::string> expressions = {
            "at('" + frame + "', " + part + ")", "Close - at(4bars, at('" + frame + "', " + part + "), closed)",
            "at(1W, at(1M, " + part + ") + Sim(at('" + frame + "', Close), 2))"};
        auto series = std::make_unique<Series>(Compiled(expressions), SeriesSettings{seed % 3 * 4, 3});
        std::vector<Row> rows;
        std::vector<std::int64_t> times;
        const auto next = [&] {
            return random.Values(static_cast<double>(times.empty() ? 0 : times.back()) + 50000.0);
        };
        for (int i = 0; i < 120; ++i) {
            const int what = random.Below(10);
            if (rows.size() < 3 || what < 5) {
                rows.push_back(next());
                times.push_back(static_cast<std::int64_t>(rows.back()[5]));
                ASSERT_EQ(series->Append(times.back(), rows.back()), S_OK);
            } else if (what == 9) {
                const auto first = static_cast<std::size_t>(random.Below(static_cast<int>(rows.size())));
                rows.resize(first);
                times.resize(first);
                ASSERT_EQ(series->Rewrite(first, {}, {}), S_OK);
            } else {
                const std::size_t bar =
                    what < 8 ? rows.size() - 1 : static_cast<std::size_t>(random.Below(static_cast<int>(rows.size())));
                const double time = rows[bar][5];
                rows[bar] = random.Values(time);
                ASSERT_EQ(series->Correct(bar, rows[bar]), S_OK);
            }
            if (what == 9 && random.Below(2) == 0) {
                auto stored = ReadSeries(*library, WrittenSeries(*series));
                ASSERT_TRUE(stored) << stored.Fault().message;
                series = std::move(*stored);
            }
        }
        for (std::size_t i = 0; i < expressions.size(); ++i) {
            const std::vector<double> straight = RunOver(expressions[i], rows);
            for (std::size_t bar = 0; bar < rows.size(); ++bar) {
                ASSERT_TRUE(AreSame(series->Results(bar)[i], straight[bar])) << expressions[i] << ", bar " << bar;
            }
        }
    }
}

TEST(At, IsBoundByTheRulesOfNames) {
    static const auto library = StudyLibrary::Load();
    const auto formula = [&](const std::string& text) {
        Compiler compiler(*library, Columns);
        const auto problem = compiler.Add(text);
        return problem ? problem->message : compiler.Compiled().results[0].formula;
    };
    EXPECT_EQ(formula("f(x, n = 3) = at(1W, Sim(x, n)); f(Close * 2)"), "at(1W, Sim( (close * 2), 3))");
    EXPECT_EQ(formula("f(w) = at(w, Close); f('2d') + f('2d')"), "(at(2d, close) + at(2d, close))");
    EXPECT_EQ(formula("f() = {a = Close[1]; b = at(1M, a) - a}; f().b"), "(at(1M, close[1]) - close[1])");
    EXPECT_EQ(formula("at(1W, 5) + 1"), "6");
    EXPECT_NE(formula("f(x) = at(1W, x); f(prev(0) + 1)").find("last value"), std::string::npos);
    EXPECT_NE(formula("at(1W, Nothing)").find("no name"), std::string::npos);
    EXPECT_NE(formula("at(1W)").find("write at("), std::string::npos);
    EXPECT_NE(formula("at(Close, Close)").find("no frame"), std::string::npos);
    Compiler compiler(*library, Columns);
    ASSERT_FALSE(compiler.Add("at(1W, Sim(Close, 10))"));
    ASSERT_FALSE(compiler.Add("at(2h, Sim(Close, 10), closed)", {.barSeconds = 1800.0}));
    EXPECT_EQ(compiler.Compiled().results[0].lookback, 70u);
    EXPECT_EQ(compiler.Compiled().results[0].frames[0].lookback, 10u);
    EXPECT_EQ(compiler.Compiled().results[1].lookback, 44u);
}

}  // namespace
}  // namespace sarvane::study
