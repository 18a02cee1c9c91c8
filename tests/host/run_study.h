#pragma once

#include <array>
#include <cstdio>
#include <string>

namespace sarvane::study {

struct Outcome {
    int status;
    std::string text;  // both streams
};

inline Outcome RunShell(const std::string& command) {
    std::FILE* const pipe = popen(command.c_str(), "r");
    std::string text;
    std::array<char, 4096> chunk;
    while (const std::size_t length = std::fread(chunk.data(), 1, chunk.size(), pipe))
        text.append(chunk.data(), length);
    return {pclose(pipe), text};
}

// Runs the program as a user does.
inline Outcome RunStudy(const std::string& arguments) {
    return RunShell(STUDY_PROGRAM " " + arguments + " 2>&1 </dev/null");
}

}  // namespace sarvane::study
