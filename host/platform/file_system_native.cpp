#include "platform/file_system.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace sarvane::study {
namespace {

namespace fs = std::filesystem;

constexpr int EndingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE};

// Names of the files that go with the program, for signal handlers: texts that do not move.
std::array<std::atomic<char*>, 8> goingWithTheProgram;

void RemoveAndEnd(int signal) {
    for (const auto& name : goingWithTheProgram) {
        if (const char* const path = name.load()) unlink(path);
    }
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

// Signals that are ignored stay so. A file that may not grow any further is an error of `write`.
void WatchSignals() {
    std::signal(SIGXFSZ, SIG_IGN);
    for (const int signal : EndingSignals) {
        struct sigaction action = {};
        if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) continue;
        action.sa_handler = RemoveAndEnd;
        sigaction(signal, &action, nullptr);
    }
}

// While one lives, signals wait.
class SignalDelay {
public:
    SignalDelay() {
        sigset_t delayed;
        sigemptyset(&delayed);
        for (const int signal : EndingSignals) sigaddset(&delayed, signal);
        sigprocmask(SIG_BLOCK, &delayed, &before);
    }
    ~SignalDelay() { sigprocmask(SIG_SETMASK, &before, nullptr); }
    SignalDelay(const SignalDelay&) = delete;
    SignalDelay& operator=(const SignalDelay&) = delete;

private:
    sigset_t before;
};

void RemoveOnSignal(const std::string& path) {
    WatchSignals();
    for (auto& name : goingWithTheProgram) {
        char* free = nullptr;
        char* const text = strdup(path.c_str());
        if (text && name.compare_exchange_strong(free, text)) return;
        std::free(text);
    }
}

void KeepOnSignal(const std::string& path) {
    for (auto& name : goingWithTheProgram) {
        char* const text = name.load();
        if (!text || path != text) continue;
        name.store(nullptr);
        std::free(text);
    }
}

// The permissions of the file that is replaced, or those of any new file.
void TakePermissions(int descriptor, const fs::path& target) {
    struct stat replaced = {};
    if (stat(target.c_str(), &replaced) == 0) {
        // Only root may give a file away, and giving it away takes some permissions.
        const bool hasOwner = fchown(descriptor, replaced.st_uid, replaced.st_gid) == 0;
        fchmod(descriptor, replaced.st_mode & (hasOwner ? 07777U : 0777U));
    } else {
        const mode_t mask = umask(0);
        umask(mask);
        fchmod(descriptor, 0666 & ~mask);
    }
}

FileState Converted(const struct stat& status) {
    const std::int64_t seconds = status.st_mtim.tv_sec;
    return {status.st_dev, status.st_ino, status.st_size, seconds * 1'000'000'000 + status.st_mtim.tv_nsec,
            S_ISREG(status.st_mode)};
}

}  // namespace

std::optional<FileState> StateOf(const fs::path& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) return std::nullopt;
    return Converted(status);
}

std::optional<FileState> StateOf(int descriptor) {
    struct stat status = {};
    if (fstat(descriptor, &status) != 0) return std::nullopt;
    return Converted(status);
}

std::int64_t FileClock() {
    return std::chrono::nanoseconds(std::chrono::system_clock::now().time_since_epoch()).count();
}

int OpenToWrite(const fs::path& path) { return open(path.c_str(), O_WRONLY | O_CLOEXEC); }

int OpenAnew(const fs::path& path) { return open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666); }

int CreateBeside(const fs::path& target, fs::path& created) {
    const SignalDelay untilItIsKnown;
    std::string name = target.string() + ".XXXXXX";
    const int descriptor = mkostemp(name.data(), O_CLOEXEC);
    if (descriptor < 0) return descriptor;
    created = name;
    RemoveOnSignal(name);
    return descriptor;
}

bool CloseAndRename(int descriptor, const fs::path& created, const fs::path& target) {
    TakePermissions(descriptor, target);
    const bool isWhole = fsync(descriptor) == 0 || errno == EINVAL;  // which some systems can't
    const int error = errno;
    const bool isClosed = close(descriptor) == 0;
    if (isWhole && isClosed && rename(created.c_str(), target.c_str()) == 0) {
        KeepOnSignal(created.string());
        return true;
    }
    const int reason = isWhole ? errno : error;
    unlink(created.c_str());
    KeepOnSignal(created.string());
    errno = reason;
    return false;
}

void CloseAndRemove(int descriptor, const fs::path& created) {
    close(descriptor);
    unlink(created.c_str());
    KeepOnSignal(created.string());
}

bool IsWritable(const fs::path& path) { return access(path.c_str(), W_OK) == 0; }

}  // namespace sarvane::study
