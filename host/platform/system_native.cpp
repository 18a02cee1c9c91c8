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
#include <sys/ioctl.h>
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

// A missing stream is opened the wrong way round, so that reading or writing it fails.
void PrepareStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0 && open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY) != stream)
            std::_Exit(EXIT_FAILURE);
    }
    std::signal(SIGPIPE, SIG_IGN);
}

bool CanRedrawErrors() { return isatty(STDERR_FILENO) != 0; }

int OpenToRead(const std::string& path) { return open(path.c_str(), O_RDONLY | O_CLOEXEC); }

int StandardInput() { return STDIN_FILENO; }

int StandardOutput() { return STDOUT_FILENO; }

int StandardError() { return STDERR_FILENO; }

bool IsTerminal(int descriptor) { return isatty(descriptor) != 0; }

std::size_t TerminalWidth() {
    winsize size = {};
    return isatty(STDOUT_FILENO) && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

bool ShowsColours() {
    const char *const refused = std::getenv("NO_COLOR"), *const terminal = std::getenv("TERM");
    return isatty(STDOUT_FILENO) && (!refused || !*refused) && terminal && std::string_view(terminal) != "dumb";
}

bool WaitForText(int descriptor, int milliseconds) {
    pollfd waiting = {descriptor, POLLIN, 0};
    return poll(&waiting, 1, milliseconds) > 0;
}

long long ReadText(int descriptor, char* text, std::size_t size) { return read(descriptor, text, size); }

long long WriteText(int descriptor, const char* text, std::size_t size) { return write(descriptor, text, size); }

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
    posix_spawnattr_t attributes;  // a signal that this program ignores is none that the other one does
    posix_spawnattr_init(&attributes);
    sigset_t usual;
    sigemptyset(&usual);
    sigaddset(&usual, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &usual);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    pid_t child = 0;
    const int error = posix_spawn(&child, arguments[0], &actions, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
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
