// What the program tells of studies, as a user sees it.

#include "reference.h"
#include "run_study.h"
#include "temporary_file.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace sarvane::study {
namespace {

const std::string LastBar = std::string("run ") + BAR_FILE + " --last 1 ";

TEST(StudyDescription, MakesTheReferenceOfStudies) {
    EXPECT_EQ(RunStudy("studies --markdown").text, Document("studies.md"))
        << "`study studies --markdown >docs/studies.md` writes it anew";
}

TEST(StudyDescription, TellsWhatAStudyIs) {
    EXPECT_NE(RunStudy("studies").text.find("\n  WilliamsR(n = 14)"), std::string::npos);
    const std::string text = RunStudy("describe williamsr 7").text;
    for (const char* part :
         {"WilliamsR(n = 14)\nWilliams %R: ", "  n  default 14  bars of the range\n", "source      Larry ",
          "(HiLev(high, high, 7).curve1 - close)", "lookback    7 bars\n", "\nWilliamsR(n = 14) = -100 * "})
        EXPECT_NE(text.find(part), std::string::npos) << part << " in\n" << text;
    const auto json = nlohmann::json::parse(RunStudy("describe MACD --json").text);
    EXPECT_EQ(json["arguments"][0]["default"], nullptr);
    EXPECT_EQ(json["arguments"][1]["default"], "12");
    EXPECT_EQ(json["outputs"][2]["name"], "histogram");
    EXPECT_GT(json["lookback"], 26);
    EXPECT_GE(nlohmann::json::parse(RunStudy("studies --json").text).size(), 60u);
    EXPECT_EQ(RunStudy("describe RSX").text, "study: no operator and no study \"RSX\"; nearest: RSI, Trix\n");
    EXPECT_EQ(RunStudy("describe RSI 1 2").text, "study: RSI takes 1 argument that has a default, not 2\n");
}

TEST(StudyDescription, ReadsFilesOfDefinitions) {
    const TemporaryFile good("# Twice the range.\n# n: bars\nTwice(n = 2) = 2 * ATR(n)\n"), more("Four = 2 * Twice\n"),
        bad("A(x) = SMA(x, 3)\n\nB(x) = A(x) + Smaa(x, 3)\n"), broken("A(x) = SMA(x, 3\nB = 1\n");
    const auto with = [](const TemporaryFile& file) { return "--define " + file.Path().string() + " "; };
    const std::string both = with(good) + with(more), run = RunStudy(LastBar + both + "Four \"4 * ATR(2)\"").text;
    EXPECT_EQ(run.substr(run.find("2020-04-17") + 10), "    286.081248    286.081248\n") << run;
    EXPECT_NE(RunStudy("describe Twice " + both).text.find("  n  default 2  bars\n"), std::string::npos);
    EXPECT_NE(RunStudy("studies " + both).text.find("\n  Four\n"), std::string::npos);
    EXPECT_EQ(RunStudy(LastBar + with(bad) + "\"B(Close)\"").text,
              "study: " + bad.Path().string() +
                  ":3:15: there is no operator and no study \"Smaa\", in B; nearest: SMA, KAMA, Samp\n");
    EXPECT_EQ(RunStudy("studies " + with(broken)).text, "study: " + broken.Path().string() + ":2:1: expected ')'\n");
    EXPECT_EQ(RunStudy("studies --define no_such.study").text, "study: no_such.study: No such file or directory\n");
}

TEST(StudyDescription, ExplainsByNodes) {
    const std::string text = RunStudy("explain --plan \"a = EMA(Close, 12)\" \"a - EMA(close, 12)[1]\"").text;
    EXPECT_NE(text.find("formula   (Exp(close, 12.000) - Exp(close, 12.000)[1])\n  node      #3\n"), std::string::npos)
        << text;
    EXPECT_NE(
        text.find("\n1     3  close   Exp(close, 12.000)\n2     1  #1      Exp(close, 12.000)[1]\n3     1  #1, #2  "),
        std::string::npos)
        << text;
}

}  // namespace
}  // namespace sarvane::study
