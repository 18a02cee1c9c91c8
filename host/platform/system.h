#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// What `study` asks of the system it runs on.
namespace sarvane::study {

// Makes the standard streams carry UTF-8, byte for byte. One that the program was started without stays of no use, and no
// file that is opened later takes its place. Writing to a pipe that nobody reads is an error and no signal.
void PrepareStreams();

// Whether standard error is a terminal on which a line can be drawn anew.
bool CanRedrawErrors();

// Descriptors of texts, for `close`; below 0 with `errno` if it can't be opened.
int OpenToRead(const std::string& path);
int StandardInput();
int StandardOutput();
int StandardError();

bool IsTerminal(int descriptor);

// Characters in a line of the terminal that standard output goes to; 0 if it is none.
std::size_t TerminalWidth();

// Whether that terminal shows colours, and the user has nothing against them (NO_COLOR).
bool ShowsColours();

// Waits until there is something to read, an end or an error included. False when the time is over.
bool WaitForText(int descriptor, int milliseconds);

// What there is to read, up to `size` bytes: 0 at the end, which others may move by writing on, and below 0 with `errno`.
long long ReadText(int descriptor, char* text, std::size_t size);

// Writes what fits, up to `size` bytes; below 0 with `errno`, which is EINTR if a signal came first.
long long WriteText(int descriptor, const char* text, std::size_t size);

// What the program holds of the free store. Not for every bar: it may walk through all of it.
std::int64_t AllocatedBytes();

// Programs that are started don't get this socket.
void KeepFromPrograms(std::intptr_t socket);

// What to call when the user or the system asks the program to end; null to end at once, as at first.
void OnInterrupt(void (*handler)(int));

// A new folder that only this user can look into.
std::filesystem::path MakeTemporaryFolder();

// A Chromium that is installed and the options it needs to start here; empty if there is none.
std::vector<std::string> BrowserCommand();

// Shows an address in the user's browser, if a desktop is there that has one.
void OpenInBrowser(const std::string& address);

// Starts a program, which is looked for in the folders of PATH, or a line of the system's shell, with further variables
// in its environment. It reads nothing, and what it prints goes to standard error. Below 0 with `errno` if it can't be
// started, else a number for `StatusOfProgram`.
long long StartProgram(const std::string& command, bool throughShell,
                       const std::vector<std::pair<std::string, std::string>>& variables);
// The exit status of a program once it has ended. Nothing while it runs, unless this is to `wait`. Asked for once.
std::optional<int> StatusOfProgram(long long program, bool wait);

// Shows a text on the user's desktop, where that can be done, and rings the bell of the terminal.
void NotifyUser(const std::string& title, const std::string& text);

// Runs a program without its output. False if it fails or takes longer than a minute.
bool RunSilently(const std::vector<std::string>& command);

}  // namespace sarvane::study
