// What takes signals and devices that not every system has.

#include "run_study.h"
#include "temporary_file.h"

#include <gtest/gtest.h>

namespace sarvane::study {
namespace {

// The shell's lines come one after the other: each waits until the program has shown what came before.
TEST(Command, FollowsAFileUntilItIsInterrupted) {
    const TemporaryFile bars("date,close\na,1\n"), output("");
    const std::string out = output.Path().string();
    const auto awaited = [&](const std::string& text) {
        return "for i in $(seq 500); do grep -q '" + text + "' " + out + " && break; sleep 0.02; done; ";
    };
    const Outcome live =
        RunShell(STUDY_PROGRAM " live " + bars.Path().string() + " 'Close * 2' >" + out + " 2>&1 & " +
                 awaited("^a .*2") + "printf 'b,3\nb,' >>" + bars.Path().string() + "; " + awaited("^b .*6") +
                 "printf '4\nc,5' >>" + bars.Path().string() + "; " + awaited("^b .*8") + "kill -INT $!; wait $!");
    EXPECT_EQ(live.status, 0);
    const std::string text = output.Content();
    EXPECT_NE(text.find("bars       2 (ticks: 1"), std::string::npos) << text << "a begun line is none";
}

TEST(Command, TellsOfLinesThatCouldNotBeWritten) {
    const Outcome full = RunShell(STUDY_PROGRAM " describe Sim 2>&1 >/dev/full");
    EXPECT_EQ(full.status, 1);
    EXPECT_EQ(full.text, "study: standard output: not all could be written\n");
}

}  // namespace
}  // namespace sarvane::study
