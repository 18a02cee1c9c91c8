#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

// What `study` asks of the system about files, and how it replaces one.
namespace sarvane::study {

struct FileState {
    std::uint64_t device;
    std::uint64_t file;  // on this device, whatever its names
    std::int64_t size;
    std::int64_t modified;  // in nanoseconds since some moment
    bool isRegular;

    // Never true for what has no identity, such as a device or a pipe on Windows: both numbers are 0 there.
    bool IsSameFile(const FileState& other) const {
        return device == other.device && file == other.file && (device != 0 || file != 0);
    }
    bool operator==(const FileState&) const = default;
};

// Nothing, with `errno`, for what does not exist or can't be looked at. A link stands for what it leads to.
std::optional<FileState> StateOf(const std::filesystem::path& path);
std::optional<FileState> StateOf(int descriptor);

// The present time on the scale of `modified`.
std::int64_t FileClock();

// All below are descriptors or -1, or true or false, with `errno`.

// Opens what takes bytes without being replaced, such as a pipe.
int OpenToWrite(const std::filesystem::path& path);
// Opens a file that others may read while it is written, without what it held.
int OpenAnew(const std::filesystem::path& path);

// A file that is to replace `target` or to become it, with a new name in the same folder. Such a file is removed if the
// program is ended by an interrupt or a like signal before it is closed.
int CreateBeside(const std::filesystem::path& target, std::filesystem::path& created);
// Gives the file the permissions and the name of `target`, once all of it is on the disk. Closes the descriptor.
bool CloseAndRename(int descriptor, const std::filesystem::path& created, const std::filesystem::path& target);
// Closes and removes it.
void CloseAndRemove(int descriptor, const std::filesystem::path& created);

// Whether the user may change the file.
bool IsWritable(const std::filesystem::path& path);

}  // namespace sarvane::study
