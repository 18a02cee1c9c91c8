#pragma once

#include "interrupt.h"

#include <string>
#include <string_view>
#include <vector>

namespace sarvane::study {

// Text of a file that others go on writing, or of a pipe.
class GrowingFile {
public:
    // "-" is standard input. While one lives, an interrupt or a termination signal ends its text, perhaps in the middle of
    // a line, and not the program.
    GrowingFile(const std::string& path, bool follow);
    ~GrowingFile();
    GrowingFile(const GrowingFile&) = delete;
    GrowingFile& operator=(const GrowingFile&) = delete;

    const std::string& Name() const { return name; }
    // Waits for more; empty at the end: of a pipe, of a file that is not followed, or by a signal.
    std::string_view Read();

private:
    bool HasShrunk() const;

    InterruptWatch watch;
    std::string name;
    int descriptor;
    bool regular;
    bool follow;
    long long position = 0;
    std::vector<char> chunk;
};

}  // namespace sarvane::study
