#include "platform/system.h"

#include "failure.h"
#include "path.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <fcntl.h>
#include <io.h>
#include <malloc.h>
#include <system_error>
#include <windows.h>

#include <shellapi.h>

namespace sarvane::study {
namespace {

namespace fs = std::filesystem;

// Programs that an installation makes known by their names alone.
fs::path FindInstalled(const std::wstring& program) {
    const std::wstring key = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\" + program;
    for (const HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
        wchar_t path[MAX_PATH] = {};
        DWORD bytes = sizeof path;
        if (RegGetValueW(root, key.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, path, &bytes) == ERROR_SUCCESS &&
            fs::exists(path))
            return path;
    }
    return {};
}

// Each word in quotes, with what stands ahead of a quote escaped.
std::wstring CommandLine(const std::vector<std::string>& words) {
    std::wstring line;
    for (const std::string& word : words) {
        std::size_t backslashes = 0;
        line += line.empty() ? L"\"" : L" \"";
        for (const wchar_t c : PathOf(word).wstring()) {
            if (c == L'"') line.append(backslashes + 1, L'\\');
            backslashes = c == L'\\' ? backslashes + 1 : 0;
            line += c;
        }
        line.append(backslashes, L'\\');
        line += L'"';
    }
    return line;
}

std::wstring WideText(const std::string& text) { return PathOf(text).wstring(); }

// For programs to inherit.
HANDLE OpenNothing() {
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    return CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                       OPEN_EXISTING, 0, nullptr);
}

}  // namespace

// The runtime library keeps the places of missing streams by itself, and knows no signal for a pipe that nobody reads.
void PrepareStreams() {
    SetConsoleOutputCP(CP_UTF8);
    std::setvbuf(stderr, nullptr, _IONBF, 0);
    for (const int descriptor : {0, 1, 2}) _setmode(descriptor, _O_BINARY);
}

bool CanRedrawErrors() {
    const HANDLE terminal = GetStdHandle(STD_ERROR_HANDLE);
    DWORD mode = 0;
    return GetConsoleMode(terminal, &mode) && SetConsoleMode(terminal, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

// Others may put another file in its place meanwhile.
int OpenToRead(const std::string& path) {
    const HANDLE file =
        CreateFileW(PathOf(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE)
        return _open_osfhandle(reinterpret_cast<std::intptr_t>(file), _O_RDONLY | _O_BINARY);
    const DWORD error = GetLastError();
    errno = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ? ENOENT : EACCES;
    return -1;
}

int StandardInput() { return 0; }

int StandardOutput() { return 1; }

int StandardError() { return 2; }

bool IsTerminal(int descriptor) { return _isatty(descriptor) != 0; }

std::size_t TerminalWidth() {
    CONSOLE_SCREEN_BUFFER_INFO screen = {};
    if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &screen)) return 0;
    return static_cast<std::size_t>(screen.srWindow.Right - screen.srWindow.Left) + 1;
}

bool ShowsColours() {
    const HANDLE terminal = GetStdHandle(STD_OUTPUT_HANDLE);
    const char* const refused = std::getenv("NO_COLOR");
    DWORD mode = 0;
    return (!refused || !*refused) && GetConsoleMode(terminal, &mode) &&
           SetConsoleMode(terminal, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

// Pipes can't be waited for, only looked at. Files always have something, if only their end.
bool WaitForText(int descriptor, int milliseconds) {
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
    const auto time = static_cast<DWORD>(milliseconds);
    switch (GetFileType(handle)) {
    case FILE_TYPE_PIPE: {
        DWORD length = 0;
        if (!PeekNamedPipe(handle, nullptr, 0, nullptr, &length, nullptr) || length > 0) return true;
        Sleep(time);
        return false;
    }
    case FILE_TYPE_CHAR: return WaitForSingleObject(handle, time) != WAIT_TIMEOUT;
    default: return true;
    }
}

// Not by `_read`, which stays at an end that it has seen.
long long ReadText(int descriptor, char* text, std::size_t size) {
    DWORD length = 0;
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
    if (ReadFile(handle, text, static_cast<DWORD>(size), &length, nullptr)) return length;
    const DWORD error = GetLastError();
    if (error == ERROR_BROKEN_PIPE || error == ERROR_HANDLE_EOF) return 0;
    errno = error == ERROR_OPERATION_ABORTED ? EINTR : EIO;
    return -1;
}

// A pipe without a reader is an invalid argument to the runtime library.
long long WriteText(int descriptor, const char* text, std::size_t size) {
    const int length = _write(descriptor, text, static_cast<unsigned>(size));
    const DWORD error = GetLastError();
    const bool gone = error == ERROR_BROKEN_PIPE || error == ERROR_NO_DATA || error == ERROR_PIPE_NOT_CONNECTED;
    if (length < 0 && gone) errno = EPIPE;
    return length;
}

std::int64_t AllocatedBytes() {
    const auto heap = reinterpret_cast<HANDLE>(_get_heap_handle());
    std::int64_t bytes = 0;
    HeapLock(heap);
    for (PROCESS_HEAP_ENTRY block = {}; HeapWalk(heap, &block);) {
        if (block.wFlags & PROCESS_HEAP_ENTRY_BUSY) bytes += block.cbData;
    }
    HeapUnlock(heap);
    return bytes;
}

void KeepFromPrograms(std::intptr_t socket) {
    SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0);
}

void OnInterrupt(void (*handler)(int)) {
    for (const int signal : {SIGINT, SIGTERM, SIGBREAK}) std::signal(signal, handler ? handler : SIG_DFL);
}

// The folder for temporary files is the user's own.
fs::path MakeTemporaryFolder() {
    for (DWORD i = GetTickCount();; ++i) {
        const fs::path folder = fs::temp_directory_path() / fmt::format("study-{}-{}", GetCurrentProcessId(), i);
        std::error_code error;
        if (fs::create_directory(folder, error)) return folder;
        if (error) Fail("{}: {}", TextOf(folder), error.message());
    }
}

std::vector<std::string> BrowserCommand() {
    for (const wchar_t* const program : {L"chrome.exe", L"chromium.exe", L"msedge.exe"}) {
        if (const fs::path browser = FindInstalled(program); !browser.empty()) return {TextOf(browser)};
    }
    return {};
}

long long StartProgram(const std::string& command, bool throughShell,
                       const std::vector<std::pair<std::string, std::string>>& variables) {
    std::wstring line = throughShell ? L"cmd.exe /s /c \"" + WideText(command) + L"\"" : CommandLine({command});
    // Texts that each end with a 0, and one more 0.
    std::wstring environment;
    wchar_t* const present = GetEnvironmentStringsW();
    for (const wchar_t* entry = present; *entry; entry += std::wcslen(entry) + 1) {
        const std::wstring_view text = entry;
        const auto isReplaced = [&](const auto& variable) { return text.starts_with(WideText(variable.first) + L'='); };
        if (std::ranges::none_of(variables, isReplaced)) environment.append(text).push_back(L'\0');
    }
    FreeEnvironmentStringsW(present);
    for (const auto& [name, value] : variables)
        environment.append(WideText(name)).append(L"=").append(WideText(value)).push_back(L'\0');
    environment.push_back(L'\0');

    const HANDLE nothing = OpenNothing();
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = nothing;
    startup.hStdOutput = startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    SetHandleInformation(startup.hStdError, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    PROCESS_INFORMATION process = {};
    const bool started = CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_UNICODE_ENVIRONMENT,
                                        environment.data(), nullptr, &startup, &process);
    errno = GetLastError() == ERROR_FILE_NOT_FOUND ? ENOENT : EACCES;
    CloseHandle(nothing);
    if (!started) return -1;
    CloseHandle(process.hThread);
    return reinterpret_cast<std::intptr_t>(process.hProcess);
}

std::optional<int> StatusOfProgram(long long program, bool wait) {
    const auto process = reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(program));
    if (WaitForSingleObject(process, wait ? INFINITE : 0) == WAIT_TIMEOUT) return std::nullopt;
    DWORD status = 0;
    GetExitCodeProcess(process, &status);
    CloseHandle(process);
    return static_cast<int>(status);
}

void OpenInBrowser(const std::string& address) {
    ShellExecuteW(nullptr, L"open", WideText(address).c_str(), nullptr, nullptr, SW_SHOWNORMAL);
}

void NotifyUser(const std::string&, const std::string&) { MessageBeep(MB_ICONINFORMATION); }

bool RunSilently(const std::vector<std::string>& command) {
    const HANDLE nothing = OpenNothing();
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = startup.hStdOutput = startup.hStdError = nothing;
    PROCESS_INFORMATION process = {};
    std::wstring line = CommandLine(command);
    const bool started = CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr,
                                        nullptr, &startup, &process);
    CloseHandle(nothing);
    if (!started) return false;
    constexpr DWORD Minute = 60'000;
    DWORD status = 1;
    if (WaitForSingleObject(process.hProcess, Minute) == WAIT_OBJECT_0)
        GetExitCodeProcess(process.hProcess, &status);
    else
        TerminateProcess(process.hProcess, status);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return status == 0;
}

}  // namespace sarvane::study
