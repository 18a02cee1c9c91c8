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

using Variables = std::vector<std::pair<std::string, std::string>>;

// The environment of this program with further variables.
std::vector<std::string> EnvironmentWith(const Variables& variables) {
    std::vector<std::string> environment;
    for (char** entry = environ; *entry; ++entry) {
        const std::string_view name = std::string_view(*entry).substr(0, std::string_view(*entry).find('='));
        if (std::ranges::find(variables, name, &Variables::value_type::first) == variables.end())
            environment.emplace_back(*entry);
    }
    for (const auto& [name, value] : variables) environment.push_back(name + '=' + value);
    return environment;
}

std::vector<char*> Pointers(std::vector<std::string>& words) {
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    return pointers;
}

// Starts a program that reads nothing. What it prints goes to `output`, or nowhere below 0. Its process, or -1 with
// `errno`.
long long Spawn(std::vector<std::string> words, const Variables& variables, int output) {
    std::vector<std::string> environment = EnvironmentWith(variables);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
        if (output < 0)
            posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_WRONLY, 0);
        else if (stream != output)
            posix_spawn_file_actions_adddup2(&actions, output, stream);
    }
    posix_spawnattr_t attributes;  // a signal that this program ignores is none that the other one does
    posix_spawnattr_init(&attributes);
    sigset_t usual;
    sigemptyset(&usual);
    sigaddset(&usual, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &usual);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    pid_t child = 0;
    const int error = posix_spawnp(&child, words[0].c_str(), &actions, &attributes, Pointers(words).data(),
                                   Pointers(environment).data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    errno = error;
    return error == 0 ? child : -1;
}

// In a process of its own and without its output: it may wait for a desktop that is not there.
void StartInBackground(const std::vector<std::string>& command) {
    static std::vector<long long> running;
    std::erase_if(running, [](long long program) { return StatusOfProgram(program, false).has_value(); });
    const long long program = Spawn(command, {}, -1);
    if (program >= 0) running.push_back(program);
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
#if __GLIBC_PREREQ(2, 33)
    const auto use = mallinfo2();
    return static_cast<std::int64_t>(use.uordblks + use.hblkhd);
#else
    const auto use = mallinfo();  // its numbers are of 32 bits, and begin anew at 4 GiB
    return static_cast<std::int64_t>(static_cast<unsigned>(use.uordblks)) + static_cast<unsigned>(use.hblkhd);
#endif
}

void KeepFromPrograms(std::intptr_t socket) { fcntl(static_cast<int>(socket), F_SETFD, FD_CLOEXEC); }

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

long long StartProgram(const std::string& command, bool throughShell,
                       const std::vector<std::pair<std::string, std::string>>& variables) {
    if (throughShell) return Spawn({"/bin/sh", "-c", command}, variables, STDERR_FILENO);
    return Spawn({command}, variables, STDERR_FILENO);
}

std::optional<int> StatusOfProgram(long long program, bool wait) {
    int status = 0;
    pid_t ended = 0;
    do ended = waitpid(static_cast<pid_t>(program), &status, wait ? 0 : WNOHANG);
    while (ended < 0 && errno == EINTR);
    if (ended == 0) return std::nullopt;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// Without a desktop `xdg-open` would start a browser in the terminal.
void OpenInBrowser(const std::string& address) {
    const auto isSet = [](const char* name) { return std::getenv(name) && *std::getenv(name); };
    if (!isSet("DISPLAY") && !isSet("WAYLAND_DISPLAY")) return;
    StartInBackground({"xdg-open", address});
}

void NotifyUser(const std::string& title, const std::string& text) {
    StartInBackground({"notify-send", "--", title, text});
    if (isatty(STDERR_FILENO) && write(STDERR_FILENO, "\a", 1) < 0) return;
}

bool RunSilently(const std::vector<std::string>& command) {
    const long long program = Spawn(command, {}, -1);
    if (program < 0) return false;

    using Clock = std::chrono::steady_clock;
    for (const auto end = Clock::now() + std::chrono::minutes(1); Clock::now() < end;) {
        if (const auto status = StatusOfProgram(program, false)) return *status == 0;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    kill(static_cast<pid_t>(program), SIGKILL);
    StatusOfProgram(program, true);
    return false;
}

}  // namespace sarvane::study
