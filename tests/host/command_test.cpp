// The program as a user runs it.

#include "temporary_file.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>

namespace sarvane::study {
namespace {

struct Outcome {
    int status;
    std::string text;  // both streams
};

Outcome RunStudy(const std::string& arguments) {
    std::FILE* const pipe = popen((STUDY_PROGRAM " " + arguments + " 2>&1 </dev/null").c_str(), "r");
    std::string text;
    std::array<char, 4096> chunk;
    while (const std::size_t length = std::fread(chunk.data(), 1, chunk.size(), pipe))
        text.append(chunk.data(), length);
    return {pclose(pipe), text};
}

std::string Content(const std::filesystem::path& path) {
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

const std::string Data = BAR_FILE;

TEST(Command, RunsAStudyOverRealBars) {
    const TemporaryFile csv("");
    const Outcome run = RunStudy("run " + Data + " 'Sim(Close, 5)' 'Bar * 2' --last 2 -o " + csv.Path().string());
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.text, "date        Sim(Close, 5)       Bar * 2\n"
                        "2020-04-16    2796.084033   5599.100098\n"
                        "2020-04-17    2813.032031   5749.120118\n");
    const std::string table = Content(csv.Path());
    EXPECT_EQ(table.substr(0, 47), "date,\"Sim(Close, 5)\",\"Bar * 2\"\n2020-04-16,2796.");
    EXPECT_TRUE(table.ends_with(",5749.120118\n")) << table;
    const double mean = (2761.629883 + 2846.060059 + 2783.360107 + 2799.550049 + 2874.560059) / 5;
    EXPECT_NEAR(std::stod(table.substr(table.rfind("2020-04-17,") + 11)), mean, 1e-11 * mean) << "with all digits";
}

TEST(Command, ListsAndDescribesForProgramsToo) {
    const Outcome list = RunStudy("list --json");
    EXPECT_EQ(list.status, 0);
    const auto classes = nlohmann::json::parse(list.text);
    EXPECT_EQ(classes.size(), 41u);
    EXPECT_NE(RunStudy("list").text.find("{401BF948-A946-11D1-B1A9-0000C0D9BDE9}"), std::string::npos);

    const auto described = nlohmann::json::parse(RunStudy("describe BarDiv --json").text);
    EXPECT_EQ(described["inputs"][1], nlohmann::json({{"argument", 0}, {"field", "high"}}));
    EXPECT_EQ(described["inputs"][4], nlohmann::json({{"argument", 1}, {"field", nullptr}}));
    EXPECT_EQ(RunStudy("describe sim 5 3").text, "Sim (SimAvgOp)\n"
                                                 "formula     Sim( %s, 5, 3)\n"
                                                 "inputs      0\n"
                                                 "outputs     curve1\n"
                                                 "parameters  5, 3\n"
                                                 "lookback    5 bars\n");
}

TEST(Command, FailsInOneLine) {
    for (const std::string& arguments : std::vector<std::string>{
             "run no_such_file.csv Close", "run /dev/null Close", "run " + Data + " 'Sim('", "describe Simm",
             "run " + Data + " Close -o /no/such/folder/x.csv", "--library " + Data + " list"}) {
        const Outcome outcome = RunStudy(arguments);
        EXPECT_EQ(outcome.status, 1 << 8) << arguments;
        EXPECT_TRUE(outcome.text.starts_with("study: ")) << outcome.text;
        EXPECT_EQ(std::count(outcome.text.begin(), outcome.text.end(), '\n'), 1) << outcome.text;
    }
    EXPECT_NE(RunStudy("run").status, 0);
}

}  // namespace
}  // namespace sarvane::study
