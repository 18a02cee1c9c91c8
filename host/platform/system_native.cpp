#include "platform/system.h"

#include "failure.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <malloc.h>
#include <poll.h>
#include <spawn.h>
#include <string_view>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace sarvane::study {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view Browsers[] = {"chromium", "chromium-browser", "google-chrome", "google-chrome-stable"};

fs::path FindBrowser() {
    const char* const known = std::getenv("PATH");
    const std::string_view folders = known ? known : "";
    for (const std::string_view browser : Browsers) {
        for (std::size_t begin = 0; begin < folders.size();) {
            const std::size_t end = std::min(folders.find(':', begin), folders.size());
            const fs::path file = fs::path(folders.substr(begin, end - begin)) / browser;
            if (access(file.c_str(), X_OK) == 0) return file;
            begin = end + 1;
        }
    }
    return {};
}

}  // namespace

void PrepareStreams() {}

bool CanRedrawErrors() { return isatty(STDERR_FILENO) != 0; }

int OpenToRead(const std::string& path) { return open(path.c_str(), O_RDONLY | O_CLOEXEC); }

int StandardInput() { return STDIN_FILENO; }

bool WaitForText(int descriptor, int milliseconds) {
    pollfd waiting = {descriptor, POLLIN, 0};
    return poll(&waiting, 1, milliseconds) > 0;
}

long long ReadText(int descriptor, char* text, std::size_t size) { return read(descriptor, text, size); }

std::int64_t AllocatedBytes() {
    const auto use = mallinfo2();
    return static_cast<std::int64_t>(use.uordblks + use.hblkhd);
}

void OnInterrupt(void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler ? handler : SIG_DFL;
    for (const int signal : {SIGINT, SIGTERM}) sigaction(signal, &action, nullptr);
}

fs::path MakeTemporaryFolder() {
    std::string name = (fs::temp_directory_path() / "study-XXXXXX").string();
    if (!mkdtemp(name.data())) Fail("{}: {}", name, std::strerror(errno));
    return name;
}

std::vector<std::string> BrowserCommand() {
    const fs::path browser = FindBrowser();
    if (browser.empty()) return {};
    if (geteuid() == 0) return {browser.string(), "--no-sandbox"};  // which root can't have
    return {browser.string()};
}

bool RunSilently(const std::vector<std::string>& command) {
    std::vector<std::string> words = command;
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int error = posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) return false;

    using Clock = std::chrono::steady_clock;
    int status = 0;
    for (const auto end = Clock::now() + std::chrono::minutes(1); Clock::now() < end;) {
        if (waitpid(child, &status, WNOHANG) != 0) return WIFEXITED(status) && WEXITSTATUS(status) == 0;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    return false;
}

}  // namespace sarvane::study
