#pragma once

#include <array>
#include <cstdio>
#include <string>

namespace sarvane::study {

struct ProgramRun {
    int status;
    std::string text;  // both streams
};

// Commands are read by the shell of the system, whichever that is: words with special characters stand in double quotes.
inline ProgramRun RunShell(const std::string& command) {
    std::FILE* const pipe = popen(command.c_str(), "r");
    std::string text;
    std::array<char, 4096> chunk;
    while (const std::size_t length = std::fread(chunk.data(), 1, chunk.size(), pipe))
        text.append(chunk.data(), length);
    const int status = pclose(pipe);
    constexpr int PosixStatus = 0x100;  // POSIX gives the exit status in the second byte
    return {status < PosixStatus ? status : status / PosixStatus, text};
}

// Runs the program as a user does.
inline ProgramRun RunStudy(const std::string& arguments, const std::string& input = NO_DEVICE) {
    return RunShell(STUDY_PROGRAM " " + arguments + " 2>&1 <" + input);
}

}  // namespace sarvane::study
