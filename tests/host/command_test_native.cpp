// What takes signals and devices that not every system has.

#include "library.h"
#include "run_study.h"
#include "temporary_file.h"

#include <array>
#include <csignal>
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace sarvane::study {
namespace {

// The shell's lines come one after the other: each waits until the program has shown what came before.
TEST(Command, FollowsAFileUntilItIsInterrupted) {
    const TemporaryFile bars("date,close\na,1\n"), output("");
    const std::string out = output.Path().string();
    const auto awaited = [&](const std::string& text) {
        return "for i in $(seq 500); do grep -q '" + text + "' " + out + " && break; sleep 0.02; done; ";
    };
    const ProgramRun live =
        RunShell(STUDY_PROGRAM " live " + bars.Path().string() + " 'Close * 2' >" + out + " 2>&1 & " +
                 awaited("^a .*2") + "printf 'b,3\nb,' >>" + bars.Path().string() + "; " + awaited("^b .*6") +
                 "printf '4\nc,5' >>" + bars.Path().string() + "; " + awaited("^b .*8") + "kill -INT $!; wait $!");
    EXPECT_EQ(live.status, 0);
    const std::string text = output.Content();
    EXPECT_NE(text.find("bars       2 (ticks: 1"), std::string::npos) << text << "a begun line is none";
}

// Each content replaces the one before in another way; the next comes once its last line has been shown.
TEST(Command, FollowsAFileThatIsWrittenAnew) {
    const TemporaryFile bars("date,close\n2020-01-01,1\n2020-01-02,2\n"), other(""), output("");
    const std::string path = bars.Path().string(), out = output.Path().string(), next = other.Path().string();
    const auto awaited = [&](const std::string& text) {
        return "for i in $(seq 500); do grep -q '" + text + "' " + out + " && break; sleep 0.02; done; ";
    };
    const ProgramRun live = RunShell(
        STUDY_PROGRAM " live " + path + " 'Close * 2' >>" + out + " 2>&1 & " + awaited("^2020-01-02 .*4") +
        "printf 'date,close\n2020-01-01,1\n2020-01-02,3\n' >" + path + "; " + awaited("^2020-01-02 .*6") + "rm " +
        path + "; " + awaited("waiting") + "printf 'date,close\n2020-01-01,2\n2020-01-02,3\n2020-01-03,4\n' >" + next +
        "; mv " + next + " " + path + "; " + awaited("^2020-01-03 .*8") + "printf 'date,close\n2020-01-03,4\n' >" +
        path + "; " + awaited("gone") + "kill -INT $!; wait $!");
    EXPECT_EQ(live.status, 0);
    const std::string text = output.Content();
    for (const char* line : {": the file was rewritten: 1 tick\n", ": No such file or directory; waiting for it\n",
                             ": the file was replaced: 1 correction, 1 new bar\n",
                             ": the file has become shorter: 2 bars are gone, first 2020-01-01\n"})
        EXPECT_NE(text.find(line), std::string::npos) << line << text;
}

TEST(Command, LeavesAFileAsItIsWhenItIsStoppedOrTheDiskIsFull) {
    const TemporaryFile output("old\n");
    const std::string path = output.Path().string(), run = STUDY_PROGRAM " run " BAR_FILE " Close -o " + path;
    const ProgramRun full = RunShell("ulimit -f 8; " + run + " 2>&1 >" NO_DEVICE);
    EXPECT_EQ(full.text, "study: " + path + ": File too large\n");
    const std::string waiting =
        "for i in $(seq 500); do ls " + path + ".* >" NO_DEVICE " 2>&1 && break; sleep 0.01; done; ";
    RunShell("(" + run + " & " + waiting +
             "kill -TERM $!; wait $!; echo $? >&3) 3>&1 | (sleep 0.5; cat >" NO_DEVICE ")");
    EXPECT_EQ(RunShell("ls " + path + "*").text, path + "\n") << "nothing stays beside it";
    EXPECT_EQ(output.Content(), "old\n");
    EXPECT_EQ(RunShell(STUDY_PROGRAM " run " BAR_FILE " Close -o /dev/full 2>&1 >" NO_DEVICE).text,
              "study: /dev/full: No space left on device\n");
}

TEST(Command, KeepsPermissionsAndLinksOfWhatItReplaces) {
    const TemporaryFile file("old");
    const std::string path = file.Path().string(), link = path + ".link";
    const std::string run = STUDY_PROGRAM " run " BAR_FILE " Close --last 1 -o ";
    EXPECT_EQ(RunShell("chmod 604 " + path + "; ln -s " + path + " " + link + "; " + run + link + " >" NO_DEVICE +
                       "; stat -c %a,%F " + path + " " + link + "; rm " + link)
                  .text,
              "604,regular file\n777,symbolic link\n");
    EXPECT_EQ(file.Content(), "date,Close\n2020-04-17,2874.560059\n");
    EXPECT_EQ(RunShell(run + "/dev/stdout").text, file.Content());
}

TEST(Command, TellsOfLinesThatCouldNotBeWritten) {
    const ProgramRun full = RunShell(STUDY_PROGRAM " describe Sim 2>&1 >/dev/full");
    EXPECT_EQ(full.status, 1);
    EXPECT_EQ(full.text, "study: standard output: No space left on device\n");
}

// The program, writing to a pipe that is full and that nobody reads yet.
class AtAFullPipe {
public:
    explicit AtAFullPipe(const std::string& arguments) {
        int ends[2] = {};
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        output = ends[0];
        process = fork();
        if (process == 0) {
            dup2(ends[1], STDOUT_FILENO);
            execl("/bin/sh", "sh", "-c", ("exec " STUDY_PROGRAM " " + arguments + " 2>" NO_DEVICE).c_str(), nullptr);
            _exit(127);
        }
        close(ends[1]);
        for (int length = 0; length < 60000; usleep(10000)) ioctl(output, FIONREAD, &length);
    }
    ~AtAFullPipe() { close(output); }

    void Signal(int signal) const { kill(process, signal); }

    // The rest of the output, read to its end.
    std::string Text() const {
        std::string text;
        std::array<char, 4096> chunk;
        for (ssize_t length; (length = read(output, chunk.data(), chunk.size())) > 0;)
            text.append(chunk.data(), static_cast<std::size_t>(length));
        return text;
    }
    int Wait() const {
        int status = 0;
        waitpid(process, &status, 0);
        return status;
    }

private:
    int output;
    pid_t process;
};

TEST(Command, EndsWithAWholeLineWhenItIsInterrupted) {
    for (const int signal : {SIGINT, SIGTERM}) {
        const AtAFullPipe live("live " BAR_FILE " Close 'Close * 2'");
        live.Signal(signal);
        const std::string text = live.Text();
        EXPECT_TRUE(std::regex_search(text, std::regex("\n....-..-..( +[0-9.]+){2}\n$"))) << text;
        EXPECT_LT(text.size(), 70000u) << "more than the pipe held";
        EXPECT_EQ(live.Wait(), 0);
    }
    const AtAFullPipe json("live " BAR_FILE " Close --format json");
    json.Signal(SIGINT);
    EXPECT_GT(nlohmann::json::parse(json.Text()).size(), 100u);
}

// The line is longer than the pipe, so that the first signal can't be followed.
TEST(Command, EndsAtOnceOnASecondSignal) {
    std::string expressions;
    for (int i = 0; i < 20; ++i) expressions += " Close+" + std::string(4000, '0');
    const AtAFullPipe live("live " BAR_FILE + expressions);
    live.Signal(SIGINT);
    live.Signal(SIGTERM);
    EXPECT_TRUE(WIFSIGNALED(live.Wait()));
}

TEST(Command, LeavesQuietlyWhenTheReaderIsGone) {
    const TemporaryFile table("");
    const std::string study = STUDY_PROGRAM " ", data = BAR_FILE " Close";
    for (const std::string& command :
         {study + "live --no-follow " + data, study + "run " + data, "trap '' PIPE; " + study + "run " + data,
          study + "run " + data + " -o " + table.Path().string()})
        EXPECT_EQ(RunShell("{ { " + command + "; echo $? >&2; } | head -1 >" NO_DEVICE "; } 2>&1").text, "141\n")
            << command;
    const std::string content = table.Content();
    EXPECT_EQ(std::count(content.begin(), content.end(), '\n'), 5106)
        << "a file does not depend on who reads the table";
}

TEST(Command, OpensNoFileInPlaceOfAClosedStream) {
    const TemporaryFile table("");
    const std::string written = " -o " + table.Path().string();
    const std::tuple<std::string, int, std::string> cases[] = {
        {"run " BAR_FILE " Close --last 1" + written + " 2>&1 >&-", 1, "study: standard output: Bad file descriptor\n"},
        {"--help 2>&1 >&-", 1, "study: standard output: Bad file descriptor\n"},
        {"run no_such_file.csv Close" + written + " 2>&-", 1, ""},
        {"live - Close 2>&1 <&-", 1, "study: standard input: Bad file descriptor\n"},
    };
    for (const auto& [arguments, status, text] : cases) {
        const ProgramRun outcome = RunShell(STUDY_PROGRAM " " + arguments);
        EXPECT_EQ(outcome.status, status) << arguments;
        EXPECT_EQ(outcome.text, text) << arguments;
    }
    EXPECT_EQ(table.Content(), "date,Close\n2020-04-17,2874.560059\n");
}

TEST(Library, SaysThatMemoryHasRunOut) { EXPECT_THROW(Library(POOR_LIBRARY), std::bad_alloc); }

TEST(Library, StaysLoaded) {
    { const Library library; }
    EXPECT_NE(dlopen(OPERATOR_LIBRARY, RTLD_LAZY | RTLD_NOLOAD), nullptr);
}

}  // namespace
}  // namespace sarvane::study
