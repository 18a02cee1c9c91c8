#pragma once

#include <atomic>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

namespace sarvane::study {

// A file with given contents that goes with the object.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& content) {
        static std::atomic<int> count = 0;
        path = std::filesystem::temp_directory_path() /
               ("sarvane-" + std::to_string(getpid()) + "-" + std::to_string(count++) + ".csv");
        std::ofstream(path, std::ios::binary) << content;
    }
    ~TemporaryFile() { std::filesystem::remove(path); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::filesystem::path& Path() const { return path; }
    std::string Content() const {
        std::ostringstream text;
        text << std::ifstream(path, std::ios::binary).rdbuf();
        return text.str();
    }

private:
    std::filesystem::path path;
};

}  // namespace sarvane::study
