#pragma once

#include <string>
#include <string_view>

// What the program shows on its standard streams. Texts of files and arguments may hold anything, so all that is
// written goes through `Shown`, except for what only programs read.
namespace sarvane::study {

// A text as a terminal may get it: control characters, bytes that are no UTF-8 and characters that turn the direction of
// writing are escaped, such as \x1b.
std::string Shown(std::string_view text);

// Adds whole lines to standard output. They are written once there are enough of them, on a terminal at once. Fails if
// they can't be written.
void Print(std::string_view lines);

// The same for lines that are there for programs: only a terminal gets them escaped, but for their tabs.
void PrintData(std::string_view lines);

// The same for lines whose texts went through `Shown`, such as those with colours.
void PrintShown(std::string_view lines);

// Writes what is left of the lines so far. After `Interrupted` this ends with the line that has begun, and drops the
// others.
void FlushOutput();

// Writes what is left, as `FlushOutput`, and `lines` behind it, also after an interrupt.
void PrintLast(std::string_view lines);

// Whether nobody reads standard output any more, such as when `head` has ended. Further lines are dropped.
bool OutputReaderIsGone();

// Writes lines to standard error at once, behind those of standard output. Never fails.
void PrintError(std::string_view lines) noexcept;

// Tells the user one thing in one line on standard error.
void Tell(std::string_view message) noexcept;

}  // namespace sarvane::study
