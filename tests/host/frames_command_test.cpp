// Frames in the commands of `study`: trades in a file and as they come, and what is told of longer bars.

#include "run_study.h"
#include "temporary_file.h"

#include <algorithm>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <sstream>

namespace sarvane::study {
namespace {

struct Trade {
    int time;  // in tenths of a second
    int id;
    double price, size;
};

std::string FileOf(const std::vector<Trade>& trades) {
    std::string text = "time,price,size,id\n";
    for (const Trade& trade : trades)
        text +=
            fmt::format("2024-03-08 {:02}:{:02}:{:02}.{},{},{},{}\n", 14 + trade.time / 36000, trade.time / 600 % 60,
                        trade.time / 10 % 60, trade.time % 10, trade.price, trade.size, trade.id);
    return text;
}

// What was shown last of each bar, by its time.
std::map<std::string, std::string> LastLines(const std::string& text) {
    std::map<std::string, std::string> lines;
    std::istringstream from(text);
    for (std::string line; std::getline(from, line);) {
        if (line.starts_with("\"2024-")) lines[line.substr(0, line.find(','))] = line;
    }
    return lines;
}

// Late trades, several of one time and repeated ones leave what a run over all trades in the order of their times gives.
TEST(Trades, ThatComeInAnyOrderGiveTheBarsOfAllOfThem) {
    for (const std::string frame : {"1min", "\"5min 00:03\"", "7ticks", "200volume", "3renko"}) {
        std::mt19937 random(11);
        std::vector<Trade> trades, all;
        int now = 0;
        for (int i = 0; i < 150; ++i) {
            now += static_cast<int>(random() % 200);
            const int late = random() % 5 == 0 ? static_cast<int>(random() % 3000) : 0;
            trades.push_back({std::max(now - late, 0), i, 100.0 + static_cast<double>(random() % 160) / 8.0,
                              static_cast<double>(1 + random() % 300) / 7.0});
        }
        for (const Trade& trade : trades) {
            all.push_back(trade);
            if (random() % 9 == 0) all.push_back(all[random() % all.size()]);  // comes once more
        }
        std::vector<Trade> sorted = trades;
        std::ranges::stable_sort(sorted, {}, &Trade::time);
        const TemporaryFile ordered(FileOf(sorted)), comes(FileOf(all));
        const std::string study =
            " --to " + frame + " \"Sim(Close, 3)\" Open High Low Volume \"at(5bars, Close)\" --format csv";
        const ProgramRun expected = RunStudy("run " + ordered.Path().string() + study);
        const ProgramRun live = RunStudy("live - --snapshots 2" + study, comes.Path().string());
        const ProgramRun once = RunStudy("run " + comes.Path().string() + study);
        EXPECT_EQ(LastLines(once.text), LastLines(expected.text)) << frame;
        EXPECT_NE(once.text.find("id of an earlier one"), std::string::npos);
        const auto lines = LastLines(live.text), wanted = LastLines(expected.text);
        ASSERT_GT(wanted.size(), 5u) << frame << expected.text;
        for (const auto& [time, line] : wanted) EXPECT_EQ(lines.contains(time) ? lines.at(time) : "", line) << frame;
    }
}

TEST(Frames, TellWhatTheyCannotDo) {
    const TemporaryFile trades("time,price,size\n2024-03-08 14:30:00,100,5\n2024-03-08 14:30:00,101,5\n");
    const TemporaryFile words("date,close\na,1\nb,2\n");
    const std::pair<std::string, std::string> cases[] = {
        {"run " + trades.Path().string() + " Close", "these are trades; --to 1min makes bars of them"},
        {"live " + trades.Path().string() + " Close --no-follow", "these are trades"},
        {"run " + words.Path().string() + " \"at(1W, Close)\"", "holds no times"},
        {"bars " + words.Path().string() + " --to 1W", "holds no times"},
        {"bars " + trades.Path().string() + " --to 1W --fill", "shorter than a day"},
        {"bars " + trades.Path().string() + " --to 5m", "write 5min for minutes or 5M for months"},
        {"bars " + trades.Path().string() + " -o x.csv", "--to"},
        {"bars " + words.Path().string() + " --to 10volume", "need a column"},
        {"run " + trades.Path().string() + " --to 1e-9renko Close", "bars of 1e-9renko"},
    };
    for (const auto& [command, fault] : cases) {
        const ProgramRun run = RunStudy(command);
        EXPECT_NE(run.status, 0) << command;
        EXPECT_NE(run.text.find(fault), std::string::npos) << command << "\n" << run.text;
    }
    const std::string bar = RunStudy("explain " BAR_FILE " \"Close - at(1W, Sim(Close, 3))\" --at 2020-04-15").text;
    EXPECT_NE(bar.find("the forming bar of 1W that begins 2020-04-13: 3 bars from 2020-04-13 to 2020-04-15"),
              std::string::npos)
        << bar;
    EXPECT_NE(bar.find("(2488.649902 + 2789.820068 + 2783.360107)"), std::string::npos) << bar;
    EXPECT_NE(RunStudy("explain \"at(1W, Sim(Close, 10))\"").text.find("70 bars (10 of 1W)"), std::string::npos);
}

}  // namespace
}  // namespace sarvane::study
