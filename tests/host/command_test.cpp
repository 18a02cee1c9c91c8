// The program as a user runs it.

#include "chart_template.h"
#include "reference.h"
#include "run_study.h"
#include "sarvane/class_ids.h"
#include "temporary_file.h"

#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace sarvane::study {
namespace {

const std::string Data = BAR_FILE;

TEST(Command, RunsAStudyOverRealBars) {
    const TemporaryFile csv("");
    const ProgramRun run =
        RunStudy("run " + Data + " \"Sim(Close, 5)\" \"Bar * 2\" --last 2 -o " + csv.Path().string());
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.text, "date        Sim(Close, 5)       Bar * 2\n"
                        "2020-04-16    2796.084033   5599.100098\n"
                        "2020-04-17    2813.032031   5749.120118\n");
    const std::string table = csv.Content();
    EXPECT_EQ(table.substr(0, 47), "date,\"Sim(Close, 5)\",\"Bar * 2\"\n2020-04-16,2796.");
    EXPECT_TRUE(table.ends_with(",5749.120118\n")) << table;
    const double mean = (2761.629883 + 2846.060059 + 2783.360107 + 2799.550049 + 2874.560059) / 5;
    EXPECT_NEAR(std::stod(table.substr(table.rfind("2020-04-17,") + 11)), mean, 1e-11 * mean) << "with all digits";
}

TEST(Command, ListsAndDescribesForProgramsToo) {
    const ProgramRun list = RunStudy("list --json");
    EXPECT_EQ(list.status, 0);
    const auto classes = nlohmann::json::parse(list.text);
    EXPECT_EQ(classes.size(), std::size(ClassId::All));
    EXPECT_NE(RunStudy("list").text.find("{401BF948-A946-11D1-B1A9-0000C0D9BDE9}"), std::string::npos);

    const auto described = nlohmann::json::parse(RunStudy("describe BarDiv --json").text);
    EXPECT_EQ(described["inputs"][1], nlohmann::json({{"argument", 0}, {"field", "high"}}));
    EXPECT_EQ(described["inputs"][4], nlohmann::json({{"argument", 1}, {"field", nullptr}}));
    EXPECT_EQ(described["arguments"][1]["name"], "value");
    const std::string sim = RunStudy("describe sim 5 3").text;
    EXPECT_TRUE(sim.starts_with("Sim (SimAvgOp): mean of the last `period` values\n\narguments\n")) << sim;
    EXPECT_NE(sim.find("  1  period   count from 1, or a curve  needed"), std::string::npos) << sim;
    EXPECT_TRUE(sim.ends_with("formula     Sim( %s, 5, 3)\n"
                              "inputs      0\n"
                              "parameters  5, 3\n"
                              "lookback    5 bars\n"))
        << sim;
    EXPECT_EQ(RunStudy("describe VolStop").text.find("-2147483648"), std::string::npos);
    EXPECT_NE(RunStudy("describe sim Volume --history 77").text.find("lookback    77 bars"), std::string::npos);
}

TEST(Command, FollowsBarsOnStandardInput) {
    const TemporaryFile lines("date,close\n2020-1-1,1\n2020-1-2,3\n2020-1-2,x\n20200102,5\n2020-1-1,3");
    const ProgramRun live = RunStudy("live - \"Sim(Close, 2)\" --snapshots 1", lines.Path().string());
    EXPECT_EQ(live.status, 0);
    EXPECT_TRUE(live.text.starts_with("date      Sim(Close, 2)\n"
                                      "2020-1-1              -\n"
                                      "2020-1-2              2\n"
                                      "study: standard input:4:2: \"x\" is no number (close); left out\n"
                                      "2020-1-2              3\n"
                                      "2020-1-2              4\n"
                                      "bars       2 (ticks: 1, corrections: 1)\n"
                                      "depth      1, lookback 2 bars\n"
                                      "update     median "))
        << live.text;
    EXPECT_NE(live.text.find("snapshots  1, every 1 bars, "), std::string::npos) << live.text;
    EXPECT_TRUE(live.text.ends_with("left out   1 lines\n")) << live.text;
}

// The second bar holds from its second tick on, and the correction of the first one, which it takes back, comes late.
TEST(Command, AlertsOnceABar) {
    const TemporaryFile lines("date,close\n2020-01-01,1\n2020-01-02,1\n2020-01-02,5\n2020-01-02,1\n2020-01-02,6\n"
                              "2020-01-01,7\n2020-01-03,8\n2020-01-04,1\n");
    const std::string live = "live - Close --when \"Close > 3\" ";
    const auto alerts = [&](const std::string& options) {
        const std::string text = RunStudy(live + options, lines.Path().string()).text;
        std::string found;
        for (const auto& line : Matches(text, std::regex("study: (2020-01-0.): Close > 3\n")))
            found += line[1].str() + ' ';
        return found;
    };
    EXPECT_EQ(alerts(""), "2020-01-02 2020-01-03 ");
    EXPECT_EQ(alerts("--at tick --notify"), "2020-01-02 2020-01-03 ");
    EXPECT_EQ(alerts("--at close"), "2020-01-02 2020-01-03 ");
    const TemporaryFile history("date,close\n2020-01-01,9\n");
    EXPECT_EQ(RunStudy("live " + history.Path().string() + " Close --no-follow --when Close").text.find(": Close\n"),
              std::string::npos)
        << "what a file holds at first is history";
    EXPECT_NE(
        RunStudy(live + "--exec no_such_program", lines.Path().string()).text.find("study: no_such_program: No such"),
        std::string::npos);
#ifndef _WIN32
    const std::string shell =
        RunStudy(live + "--shell --exec 'echo $STUDY_TIME $STUDY_CONDITION $STUDY_VALUES; exit 7'",
                 lines.Path().string())
            .text;
    EXPECT_NE(shell.find("2020-01-02 Close > 3 {\"Close\":5.0}\n"), std::string::npos) << shell;
    EXPECT_NE(shell.find(" ended with status 7\n"), std::string::npos) << shell;
    const std::string plain = RunStudy(live + "--exec 'echo a'", lines.Path().string()).text;
    EXPECT_NE(plain.find("study: echo a: No such file"), std::string::npos) << "not read by a shell";
    EXPECT_NE(RunStudy(live + "--exec env", lines.Path().string()).text.find("STUDY_FILE=standard input\n"),
              std::string::npos);
#endif
}

// Rows that repeat a time, stand newest first, lack numbers or can't be read give the same values in all commands.
TEST(Command, ReadsAFileInOneWay) {
    const TemporaryFile bars("date,close\n01/03/2020,5\n20200103,4\n2020-1-2,x\n2020-01-02,nan\n2020-01-01,1\n"),
        csv("");
    const std::string path = bars.Path().string(), table = "2020-01-01             1\n"
                                                           "2020-01-02             -\n"
                                                           "20200103               5\n";
    const std::string run = RunStudy("run " + path + " \"Close * 1\" --skip-bad -o " + csv.Path().string()).text;
    EXPECT_TRUE(run.ends_with("date           Close * 1\n" + table)) << run;
    EXPECT_NE(run.find(":4:2: \"x\" is no number (close); left out\n"), std::string::npos) << run;
    const std::string live = RunStudy("live " + path + " \"Close * 1\" --no-follow").text;
    EXPECT_NE(live.find("20200103               4\n20200103               5\n"), std::string::npos) << live;
    EXPECT_NE(live.find("bars       3 (ticks: 1, corrections: 0)\n"), std::string::npos) << live;
    EXPECT_NE(RunStudy("replay " + path + " Close --skip-bad").text.find("  3 bars, 2 of them"), std::string::npos);

    EXPECT_EQ(csv.Content(), "date,\"Close * 1\"\n2020-01-01,1\n2020-01-02,\n20200103,5\n");
    const std::string again = RunStudy("run " + csv.Path().string() + " \"\\\"Close * 1\\\"\"").text;
    EXPECT_TRUE(again.ends_with(table)) << again;
}

TEST(Command, WritesNothingOverItsInput) {
    const TemporaryFile bars("date,close\n2020-01-01,1\n");
    const std::string path = bars.Path().string();
    for (const std::string& command : {"run " + path + " Close -o " + path, "chart " + path + " --png " + path}) {
        const ProgramRun outcome = RunStudy(command);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.text, "study: " + path + ": not written, because it is the same file as " + path + "\n");
    }
    EXPECT_EQ(bars.Content(), "date,close\n2020-01-01,1\n");
}

TEST(Command, WritesGapsForWhatIsNoFiniteNumber) {
    const TemporaryFile bars("date,close\n2020-01-01,1e308\n"), csv("");
    const ProgramRun run =
        RunStudy("run " + bars.Path().string() + " \"Close * 10\" Close close -o " + csv.Path().string());
    EXPECT_NE(run.text.find("         inf "), std::string::npos) << run.text;
    EXPECT_NE(run.text.find(": values that are infinite or no number, written as gaps: 1\n"), std::string::npos);
    EXPECT_EQ(csv.Content(), "date,\"Close * 10\",Close,\"close (2)\"\n2020-01-01,,1e+308,1e+308\n");
}

TEST(Command, WritesTablesInAllFormats) {
    const TemporaryFile bars("date,close\n2020-01-01,1e-5\n2020-01-02,x\n2020-01-03,1234.5\n");
    const std::string path = bars.Path().string(), json = path + ".json";
    const std::string start = "run " + path + " --skip-bad \"Close[1]\" Close ";
    const std::pair<const char*, const char*> cases[] = {
        {"", "date            Close[1]         Close\n"
             "2020-01-01             -       0.00001\n"
             "2020-01-03       0.00001    1234.50000\n"},
        {"--na x --precision 1", "date            Close[1]         Close\n"
                                 "2020-01-01             x           0.0\n"
                                 "2020-01-03           0.0        1234.5\n"},
        {"--format csv", "date,Close[1],Close\n2020-01-01,,1e-05\n2020-01-03,1e-05,1234.5\n"},
        {"-o - --na NA", "date,Close[1],Close\n2020-01-01,NA,1e-05\n2020-01-03,1e-05,1234.5\n"},
        {"--format tsv", "date\tClose[1]\tClose\n2020-01-01\t\t1e-05\n2020-01-03\t1e-05\t1234.5\n"},
        {"--format ndjson --precision 0", "{\"date\": \"2020-01-01\", \"Close[1]\": null, \"Close\": 0}\n"
                                          "{\"date\": \"2020-01-03\", \"Close[1]\": 0, \"Close\": 1234}\n"},
        {"--format json --last 0", "[]\n"},
        {"--format json --last 1", "[{\"date\": \"2020-01-03\", \"Close[1]\": 1e-05, \"Close\": 1234.5}\n]\n"},
    };
    for (const auto& [options, table] : cases) {
        const std::string text = RunStudy(start + options).text;
        EXPECT_TRUE(text.ends_with('\n' + std::string(table))) << options << '\n' << text;
    }
    RunStudy("live " + path + " Close --no-follow -o " + json);
    EXPECT_EQ(nlohmann::json::parse(std::ifstream(json))[1]["Close"], 1234.5) << "as the file's ending says";
    std::filesystem::remove(json);
}

TEST(Command, ScansManyFiles) {
    const std::filesystem::path folder = std::filesystem::path(testing::TempDir()) / "sarvane-scan";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directory(folder);
    const std::string path = folder.string();
    for (int i = 1; i <= 9; ++i)
        std::ofstream(path + "/S" + std::to_string(i) + ".csv") << "date,close\n2020-01-0" << i << ',' << i % 4 << '\n';
    std::ofstream(path + "/X.csv") << "date,close\n2020-01-01,x\n";
    const std::string scan = "scan " + path + " Close --format csv ";
    const std::string all = RunStudy(scan + "--sort Close").text;
    EXPECT_EQ(all, "symbol,date,Close\nS3,2020-01-03,3\nS7,2020-01-07,3\nS2,2020-01-02,2\nS6,2020-01-06,2\n"
                   "S1,2020-01-01,1\nS5,2020-01-05,1\nS9,2020-01-09,1\nS4,2020-01-04,0\nS8,2020-01-08,0\n"
                   "study: " +
                       (folder / "X.csv").string() +
                       ":2:2: \"x\" is no number (close)\n"
                       "study: 1 of 10 files are left out\n");
    for (const char* const threads : {"1", "7"})
        EXPECT_EQ(RunStudy(scan + "--sort Close --threads " + threads).text, all) << "whatever the threads";
    const ProgramRun some = RunStudy(scan + "--where \"Close > 1\" --sort Close --ascending --top 1");
    EXPECT_EQ(some.status, 1);
    EXPECT_TRUE(some.text.starts_with("symbol,date,Close\nS2,2020-01-02,2\nstudy: ")) << some.text;
    EXPECT_NE(RunStudy("scan " + path + " \"Sim(\"").text.find(" (in 10 files, first "), std::string::npos);
    EXPECT_EQ(RunStudy("scan no_such.csv Close").text, "study: no_such.csv: No such file or directory\n");
    std::filesystem::remove_all(folder);
}

TEST(Command, ReplaysBars) {
    const ProgramRun equal = RunStudy("replay " + Data + " \"Sim(Close, 5)\" --ticks 2");
    EXPECT_EQ(equal.status, 0) << equal.text;
    EXPECT_TRUE(equal.text.starts_with("Sim(Close, 5)\n"
                                       "  5105 bars, 5101 of them with values, equal those of a run, bit for bit\n"
                                       "  10210 updates: "))
        << equal.text;
    const ProgramRun different = RunStudy("replay " + Data + " Close \"TimeAvg(Close, 1, 3)\"");
    EXPECT_EQ(different.status, 3);
    EXPECT_NE(different.text.find("study: 1 of 2 expressions differ from a run\n"), std::string::npos);
}

// A terminal would obey them. A written file has them in quotes.
TEST(Command, EscapesControlCharactersOfFiles) {
    const TemporaryFile bars("date,close,\x1b[31mred\n\x1b]0;x\x07,1,2\nb,\x1b[2J,3\n"), table("");
    const std::string file = bars.Path().string();
    const TemporaryFile good("date,close,\x1b[31mred\n\x1b]0;x\x07,1,2\n");
    const std::string run = "run " + good.Path().string() + " \"'\x1b[31mred'\" Close -o " + table.Path().string();
    EXPECT_EQ(RunStudy(run).text,
              "study: " + good.Path().string() +
                  ": \"\\x1b]0;x\\x07\" is no time, so that bars stay in the order in which they come\n"
                  "date          '\\x1b[31mred'         Close\n"
                  "\\x1b]0;x\\x07              2             1\n");
    EXPECT_EQ(table.Content(), "date,\"'\x1b[31mred'\",Close\n\"\x1b]0;x\x07\",2,1\n");
    for (const std::string& arguments : std::vector<std::string>{
             "run " + file + " Close", "live " + file + " Close --no-follow", "run " + file + " \"Close + \x1b[1m\"",
             "run \x1b[1m.csv Close", "run " + file + " Close --\x1b[1m", "describe \x1b[1m"}) {
        const ProgramRun outcome = RunStudy(arguments);
        EXPECT_EQ(outcome.text.find('\x1b'), std::string::npos) << arguments;
        EXPECT_NE(outcome.text.find("\\x1b["), std::string::npos) << outcome.text;
    }
}

TEST(Command, SaysWhyAColumnHasNoValue) {
    const std::pair<const char*, const char*> cases[] = {
        {"\"Sim(Close, -5)\"", "study: Sim: `period` must be at least 1, but is -5\n"},
        {"\"Sim(Close, 6000)\"",
         "study: Sim(Close, 6000) has no value: it needs 6000 bars of history, and there are 5105\n"},
        {"\"CGOscOp(Close)\"", "study: CGOscOp: `period` is missing; without it there is no result\n"},
        {"\"RSI(14)\"", "study: `x` of RSI is 14 on every bar; did you mean RSI(Close, 14)?\n"},
        {"\"Close / 0\"", "study: Close / 0 has no value on any bar\n"},
    };
    for (const auto& [expression, warning] : cases) {
        const ProgramRun run = RunStudy("run " + Data + " --last 1 " + expression);
        EXPECT_EQ(run.status, 0);
        const std::size_t at = run.text.find(warning);
        EXPECT_NE(at, std::string::npos) << run.text;
        EXPECT_EQ(run.text.find(warning, at + 1), std::string::npos) << "once";
    }
    EXPECT_NE(RunStudy("run " + Data + " --price-step -1 Close").text.find("-1 is no number above 0"),
              std::string::npos);
}

TEST(Command, ShowsANegativeZeroAsZero) {
    const TemporaryFile table("");
    const ProgramRun run =
        RunStudy("run " + Data + " \"EventOffsetOp(1)\" \"0 * (0 - Close)\" --last 1 -o " + table.Path().string());
    EXPECT_TRUE(run.text.ends_with("\n2020-04-17                 0                0\n")) << run.text;
    EXPECT_TRUE(table.Content().ends_with("\n2020-04-17,0,0\n"));
}

TEST(Command, DrawsOnOnePage) {
    if (ChartTemplate().empty()) GTEST_SKIP() << "built without the chart library";
    const TemporaryFile page("");
    const std::string drawing = "chart " + Data + " \"Sim(Close, 5)\" \"KaseCCSS(Bar)\" -o ";
    EXPECT_EQ(RunStudy(drawing + page.Path().string()).text, "");
    const std::string html = page.Content();
    EXPECT_EQ(html.find("@data@"), std::string::npos);
    EXPECT_TRUE(html.ends_with("</html>\n"));
    EXPECT_EQ(RunStudy(drawing + "/no/such/folder/x.html").text,
              "study: /no/such/folder/x.html: No such file or directory\n");
    EXPECT_NE(RunStudy("chart " + Data).status, 0) << "drawn for nobody";
}

TEST(Command, CompletesCommandLines) {
    const std::pair<std::string, std::string> cases[] = {
        {"ru", "run\trun expressions over a file of bars\n"},
        {"run \"\"", ":files\n"},
        {"run " + Data + " \"Sim(CLo\"", "Sim(CLose\tcolumn\n"},
        {"run --format nd", "ndjson\t\n"},
        {"run " + Data + " --las", "--last\tshow only the last N bars\n"},
        {"describe SupertR", "SupertRend\tstudy\n"},
        {"scan " PROJECT_FOLDER "/data Volu", ":files\nVolume\tcolumn\n"},
        {"help liv", "live\t"},
        {"list x", ""},
    };
    for (const auto& [words, expected] : cases) {
        const std::string found = RunStudy("complete -- " + words).text;
        EXPECT_TRUE(expected.empty() ? found.empty() : found.starts_with(expected)) << words << '\n' << found;
    }
}

TEST(Command, FailsInOneLine) {
    for (const std::string& arguments : std::vector<std::string>{
             "run no_such_file.csv Close", "run " NO_DEVICE " Close", "run " + Data + " \"Sim(\"", "describe Simm",
             "run " + Data + " Close -o /no/such/folder/x.csv", "live no_such_file.csv Close", "live - Close",
             "--library " + Data + " list", "describe Sim abc", "describe Sim 5 abc", "describe Sim 1 2 3 4 5 6",
             "describe BarAdd Close 2"}) {
        const ProgramRun outcome = RunStudy(arguments);
        EXPECT_EQ(outcome.status, 1) << arguments;
        EXPECT_TRUE(outcome.text.starts_with("study: ")) << outcome.text;
        EXPECT_EQ(std::count(outcome.text.begin(), outcome.text.end(), '\n'), 1) << outcome.text;
    }
}

TEST(Command, SaysWhatIsWrongWithACommandLine) {
    const std::string run = "run " + Data + " Close ";
    const std::pair<std::string, std::string> cases[] = {
        {"", "which command? There are run, live, "},
        {"rnu", "no command \"rnu\"; nearest: run ("},
        {"help chrt", "help: command: no command \"chrt\"; nearest: chart ("},
        {"--verion", "no option \"--verion\"; nearest: --version ("},
        {run + "--lst 3", "run: no option \"--lst\"; nearest: --last ("},
        {"run", "run: bars is missing ("},
        {run + "--last", "run: --last needs a value ("},
        {run + "--last 1 --last 2", "run: --last is given twice ("},
        {run + "--last -1", "run: --last: -1 is no whole number from 0 on ("},
        {run + "--history 0", "run: --history: 0 is no whole number from 1 to "},
        {run + "--format cvs", "run: --format: \"cvs\" is none of table, csv, tsv, json, ndjson ("},
        {run + "-open", "\"-open\" begins like an option; put -- ahead of what begins with a dash: -- \"-open\" ("},
        {"list x", "list: \"x\" is one argument too many ("},
        {"chart " + Data, "chart: -o, --png or --live is missing ("},
    };
    for (const auto& [arguments, message] : cases) {
        const ProgramRun outcome = RunStudy(arguments);
        EXPECT_EQ(outcome.status, 2) << arguments;
        EXPECT_TRUE(outcome.text.starts_with("study: " + message)) << outcome.text;
        EXPECT_LT(outcome.text.size(), 160u) << "one short line";
    }
    EXPECT_EQ(RunStudy("run " + Data + " --last 1 -- -Close").text, "date              -Close\n"
                                                                    "2020-04-17  -2874.560059\n");
    EXPECT_EQ(RunStudy("help run").text, RunStudy("run --help").text);
    EXPECT_EQ(RunStudy("help").text, RunStudy("--help").text);
    EXPECT_TRUE(std::regex_search(RunStudy("--version").text, std::regex("commit .*\nbuild .*\noperators +41\n")));
    EXPECT_TRUE(RunStudy("run " + Data + " \"MedOp(Close, -5)\"")
                    .text.ends_with("MedOp: `windowSize` must be a count from 1, but is -5\n"));
}

}  // namespace
}  // namespace sarvane::study
