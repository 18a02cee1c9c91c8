#include "output_file.h"

#include "failure.h"
#include "path.h"
#include "platform/file_system.h"
#include "platform/system.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>
#include <utility>

namespace sarvane::study {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t EnoughToWrite = 1 << 16;
constexpr int MostLinks = 40;

// Where a link leads, even if nothing is there.
fs::path FileBehind(fs::path path) {
    std::error_code error;
    for (int i = 0; i < MostLinks && fs::is_symlink(path, error); ++i)
        path = path.parent_path() / fs::read_symlink(path);
    return path;
}

// By whatever names. Files that are still to be made have one name each.
bool AreSameFile(const fs::path& path, const fs::path& other) {
    const auto state = StateOf(path), otherState = StateOf(other);
    if (state && otherState) return state->IsSameFile(*otherState);
    std::error_code error;
    return !state && !otherState && fs::weakly_canonical(path, error) == fs::weakly_canonical(other, error);
}

bool GoesTo(int stream, const FileState& file) {
    const auto state = StateOf(stream);
    return state && state->IsSameFile(file);
}

}  // namespace

void RefuseAsStandardOutput(const fs::path& input) {
    const auto state = StateOf(input);
    if (state && state->isRegular && GoesTo(StandardOutput(), *state))
        Fail("standard output goes to {}, which is read", TextOf(input));
}

OutputFile::OutputFile(const fs::path& path, const std::vector<fs::path>& others, Kind kind)
    : name(TextOf(path)), target(path) {
    const auto present = StateOf(path);
    for (const fs::path& other : others) {
        if (AreSameFile(path, other)) Fail("{}: not written, because it is the same file as {}", name, TextOf(other));
    }
    std::error_code error;
    if (fs::is_directory(path, error)) {
        errno = EISDIR;
        FailWithError();
    }
    if (present && !IsWritable(path)) FailWithError();
    isStandardOutput = present && GoesTo(StandardOutput(), *present);
    if (isStandardOutput || (present && GoesTo(StandardError(), *present))) {
        descriptor = dup(isStandardOutput ? StandardOutput() : StandardError());
    } else if (present && !present->isRegular) {
        descriptor = OpenToWrite(path);
    } else if (kind == Kind::Growing) {
        descriptor = OpenAnew(path);
    } else {
        target = FileBehind(path);
        descriptor = CreateBeside(target, temporary);
    }
    if (descriptor < 0) FailWithError();
}

OutputFile::~OutputFile() {
    if (descriptor < 0) return;
    temporary.empty() ? void(close(descriptor)) : CloseAndRemove(descriptor, temporary);
}

void OutputFile::Write(std::string_view text) {
    pending += text;
    if (pending.size() >= EnoughToWrite) Flush();
}

void OutputFile::Close() {
    Flush();
    const int last = std::exchange(descriptor, -1);
    const bool isWritten = temporary.empty() ? close(last) == 0 : CloseAndRename(last, temporary, target);
    if (!isWritten) FailWithError();
}

void OutputFile::Flush() {
    for (std::string_view rest = pending; !rest.empty();) {
        const auto length = write(descriptor, rest.data(), static_cast<unsigned>(rest.size()));
        if (length < 0 && errno == EINTR) continue;
        if (length < 0) FailWithError();
        rest.remove_prefix(static_cast<std::size_t>(length));
    }
    pending.clear();
}

void OutputFile::FailWithError() const { Fail("{}: {}", name, std::strerror(errno)); }

}  // namespace sarvane::study
