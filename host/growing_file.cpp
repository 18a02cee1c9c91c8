#include "growing_file.h"

#include "failure.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace sarvane::study {
namespace {

constexpr int LookEvery = 20;  // milliseconds, below what an eye notices

volatile std::sig_atomic_t interrupted = 0;

void OnSignal(int signal, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    sigaction(signal, &action, nullptr);
}

}  // namespace

GrowingFile::GrowingFile(const std::string& path, bool followIt)
    : name(path == "-" ? "standard input" : path),
      descriptor(path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)), follow(followIt),
      chunk(1 << 16) {
    struct stat status = {};
    if (descriptor < 0 || fstat(descriptor, &status) != 0) Fail("{}: {}", name, std::strerror(errno));
    regular = path != "-" && S_ISREG(status.st_mode);
    interrupted = 0;
    for (const int signal : {SIGINT, SIGTERM}) OnSignal(signal, [](int) { interrupted = 1; });
}

GrowingFile::~GrowingFile() {
    for (const int signal : {SIGINT, SIGTERM}) OnSignal(signal, SIG_DFL);
    if (descriptor != STDIN_FILENO) close(descriptor);
}

std::string_view GrowingFile::Read() {
    while (!interrupted) {
        pollfd waiting = {descriptor, POLLIN, 0};
        if (poll(&waiting, 1, LookEvery) <= 0) continue;
        const ssize_t length = read(descriptor, chunk.data(), chunk.size());
        if (length < 0 && errno == EINTR) continue;
        if (length < 0) Fail("{}: {}", name, std::strerror(errno));
        if (length > 0) {
            position += length;
            return {chunk.data(), static_cast<std::size_t>(length)};
        }
        if (!regular || !follow) break;
        if (HasShrunk()) Fail("{}: the file has become shorter", name);
        poll(nullptr, 0, LookEvery);
    }
    return {};
}

bool GrowingFile::Interrupted() const { return interrupted != 0; }

bool GrowingFile::HasShrunk() const {
    struct stat status = {};
    return fstat(descriptor, &status) == 0 && descriptor != STDIN_FILENO && status.st_size < position;
}

}  // namespace sarvane::study
