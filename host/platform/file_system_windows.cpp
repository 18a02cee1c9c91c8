#include "platform/file_system.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <fmt/format.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

namespace sarvane::study {
namespace {

namespace fs = std::filesystem;

int ErrorNumber(DWORD error) {
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND: return ENOENT;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION: return EACCES;
    case ERROR_FILE_EXISTS: return EEXIST;
    case ERROR_DISK_FULL: return ENOSPC;
    default: return EIO;
    }
}

std::int64_t Combined(DWORD high, DWORD low) { return static_cast<std::int64_t>(high) << 32 | low; }

std::optional<FileState> StateOfHandle(HANDLE handle) {
    if (const DWORD type = GetFileType(handle); type != FILE_TYPE_DISK && type != FILE_TYPE_UNKNOWN) {
        return FileState{};  // a device or a pipe, of which nothing else can be told
    }
    BY_HANDLE_FILE_INFORMATION information = {};
    if (!GetFileInformationByHandle(handle, &information)) {
        errno = ErrorNumber(GetLastError());
        return std::nullopt;
    }
    constexpr std::int64_t Tick = 100;  // nanoseconds
    const bool isRegular = !(information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY);
    return FileState{information.dwVolumeSerialNumber,
                     static_cast<std::uint64_t>(Combined(information.nFileIndexHigh, information.nFileIndexLow)),
                     Combined(information.nFileSizeHigh, information.nFileSizeLow),
                     Combined(information.ftLastWriteTime.dwHighDateTime, information.ftLastWriteTime.dwLowDateTime) *
                         Tick,
                     isRegular};
}

// While this is set, closing the file in whatever way removes it.
void RemoveOnClose(int descriptor, bool remove) {
    FILE_DISPOSITION_INFO disposition = {};
    disposition.DeleteFile = remove;
    SetFileInformationByHandle(reinterpret_cast<HANDLE>(_get_osfhandle(descriptor)), FileDispositionInfo, &disposition,
                               sizeof disposition);
}

}  // namespace

std::optional<FileState> StateOf(const fs::path& path) {
    const HANDLE handle = CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                      OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        errno = ErrorNumber(GetLastError());
        return std::nullopt;
    }
    const auto state = StateOfHandle(handle);
    CloseHandle(handle);
    return state;
}

std::optional<FileState> StateOf(int descriptor) {
    return StateOfHandle(reinterpret_cast<HANDLE>(_get_osfhandle(descriptor)));
}

std::int64_t FileClock() {
    FILETIME now = {};
    GetSystemTimeAsFileTime(&now);
    return Combined(now.dwHighDateTime, now.dwLowDateTime) * 100;
}

int OpenToWrite(const fs::path& path) { return _wopen(path.c_str(), _O_WRONLY | _O_BINARY | _O_NOINHERIT); }

int OpenAnew(const fs::path& path) {
    return _wopen(path.c_str(), _O_WRONLY | _O_CREAT | _O_TRUNC | _O_BINARY | _O_NOINHERIT, _S_IREAD | _S_IWRITE);
}

int CreateBeside(const fs::path& target, fs::path& created) {
    for (DWORD i = GetTickCount();; ++i) {
        created = target;
        created += fmt::format(".{}-{}", GetCurrentProcessId(), i);
        const HANDLE handle = CreateFileW(created.c_str(), GENERIC_WRITE | DELETE, FILE_SHARE_READ, nullptr, CREATE_NEW,
                                          FILE_ATTRIBUTE_NORMAL, nullptr);
        if (handle != INVALID_HANDLE_VALUE) {
            const int descriptor = _open_osfhandle(reinterpret_cast<std::intptr_t>(handle), _O_WRONLY | _O_BINARY);
            RemoveOnClose(descriptor, true);
            return descriptor;
        }
        errno = ErrorNumber(GetLastError());
        if (errno != EEXIST) return -1;
    }
}

// Replacing keeps the permissions and attributes of the file that was there.
bool CloseAndRename(int descriptor, const fs::path& created, const fs::path& target) {
    const bool isWhole = _commit(descriptor) == 0;
    RemoveOnClose(descriptor, !isWhole);
    _close(descriptor);
    if (!isWhole) {
        errno = EIO;
        return false;
    }
    if (ReplaceFileW(target.c_str(), created.c_str(), nullptr, REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr, nullptr) ||
        MoveFileExW(created.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING))
        return true;
    errno = ErrorNumber(GetLastError());
    const int reason = errno;
    DeleteFileW(created.c_str());
    errno = reason;
    return false;
}

void CloseAndRemove(int descriptor, const fs::path& created) {
    _close(descriptor);
    DeleteFileW(created.c_str());
}

bool IsWritable(const fs::path& path) {
    if (_waccess(path.c_str(), 2) == 0) return true;
    errno = EACCES;
    return false;
}

}  // namespace sarvane::study
