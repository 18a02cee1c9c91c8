#include "growing_file.h"

#include "failure.h"
#include "platform/system.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace sarvane::study {
namespace {

constexpr int LookEvery = 20;  // milliseconds, below what an eye notices

}  // namespace

GrowingFile::GrowingFile(const std::string& path, bool followIt)
    : name(path == "-" ? "standard input" : path), descriptor(path == "-" ? StandardInput() : OpenToRead(path)),
      follow(followIt), chunk(1 << 16) {
    struct stat status = {};
    if (descriptor < 0 || fstat(descriptor, &status) != 0) Fail("{}: {}", name, std::strerror(errno));
    regular = path != "-" && S_ISREG(status.st_mode);
}

GrowingFile::~GrowingFile() {
    if (descriptor != StandardInput()) close(descriptor);
}

std::string_view GrowingFile::Read() {
    while (!Interrupted()) {
        if (!WaitForText(descriptor, LookEvery)) continue;
        const long long length = ReadText(descriptor, chunk.data(), chunk.size());
        if (length < 0 && errno == EINTR) continue;
        if (length < 0) Fail("{}: {}", name, std::strerror(errno));
        if (length > 0) {
            position += length;
            return {chunk.data(), static_cast<std::size_t>(length)};
        }
        if (!regular || !follow) break;
        if (HasShrunk()) Fail("{}: the file has become shorter", name);
        std::this_thread::sleep_for(std::chrono::milliseconds(LookEvery));
    }
    return {};
}

bool GrowingFile::HasShrunk() const {
    struct stat status = {};
    return fstat(descriptor, &status) == 0 && status.st_size < position;
}

}  // namespace sarvane::study
