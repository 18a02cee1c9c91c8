#include "chart_server/history.h"

#include "failure.h"
#include "study.h"

#include <bit>
#include <gtest/gtest.h>
#include <map>
#include <random>

namespace sarvane::study {
namespace {

const std::vector<std::string> Studies = {"Exp(Close, 9)", "MedOp(Close, 5)", "VolStop(Bar, 2, 3, 0)", "KaseCCSS(Bar).label1"};
const BarHeader Header{"bars", "date", {"open", "high", "low", "close"}};

std::unique_ptr<Series> EmptySeries(const Library& library, std::size_t distance) {
    Compiler compiler(library.Studies(), Header.titles);
    for (const std::string& study : Studies) EXPECT_FALSE(compiler.Add(study, {{}, true}));
    return std::make_unique<Series>(compiler.Finish(), SeriesSettings{distance, 4});
}

// Whether a series holds, bit for bit, what a run over the bars gives.
void ExpectRun(const Library& library, const BarFile& bars, const History& history, const std::string& what) {
    Study study(library, bars);
    for (const std::string& expression : Studies) study.Add(expression, true);
    study.Reset();
    for (std::size_t bar = 0; bar < bars.BarCount(); ++bar) {
        study.Step(bar);
        std::size_t i = 0;
        for (const Result& result : study.Results())
            ASSERT_EQ(std::bit_cast<std::uint64_t>(*result.value),
                      std::bit_cast<std::uint64_t>(history.Results(bar)[i++])) << what << ", bar " << bar;
    }
}

BarFile Cut(const BarFile& bars, std::size_t count) {
    BarFile cut(Header);
    for (std::size_t bar = 0; bar < count; ++bar) {
        cut.BarOf(bars.Date(bar));
        cut.Append(bars.Row(bar));
    }
    return cut;
}

TEST(History, GoesBackToWhatARunOverTheFileOfThatTimeGives) {
    const Library library;
    for (const std::size_t distance : {0u, 3u, 1000u}) {
        History history(EmptySeries(library, distance));
        std::mt19937 random(5);
        BarFile bars(Header);
        std::vector<BarFile> files;  // from the first update that is known
        const auto change = [&](std::size_t bar) {
            const double open = 100.0 + static_cast<double>(random() % 60) / 3, close = 100.0 + static_cast<double>(random() % 60) / 3;
            const BarRow row{std::to_string(10000 + bar), {open, std::max(open, close) + 1, std::min(open, close) - 1, close}};
            const bool isNew = bars.BarOf(row.date) == bars.BarCount();
            const std::vector<double> before = isNew ? std::vector<double>() : bars.Row(bar).values;
            isNew ? bars.Append(row) : bars.Replace(bar, row.values);
            history.Take(bar, isNew ? nullptr : &before);
            files.push_back(bars);
        };
        const auto go = [&](const History::Moment& moment) {
            history.Calculate(history.WayTo(moment, bars));
            const BarFile& file = files[static_cast<std::size_t>(moment.update - history.FirstUpdate())];
            ExpectRun(library, Cut(file, moment.barCount), history, "update " + std::to_string(moment.update));
        };
        for (int round = 0; round < 2; ++round) {
            files = {bars};
            for (int i = 0; i < 150; ++i) {
                const std::size_t count = bars.BarCount(), what = random() % 9;
                change(count == 0 || what < 3 ? count : what == 8 ? random() % count : count - 1);
                if (i % 10 != 9) continue;
                go(history.After(history.FirstUpdate() + random() % files.size(), bars.BarCount()));
                const std::size_t bar = random() % bars.BarCount();
                const History::Moment end = history.AtEndOf(bar, bars.BarCount());
                EXPECT_EQ(end.barCount, bar + 1);
                go(end);
            }
            history.Forget();  // as once the file was written anew
        }
    }
}

}  // namespace
}  // namespace sarvane::study
