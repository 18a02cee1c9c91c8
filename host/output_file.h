#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace sarvane::study {

// A file that is written whole or not at all. What is written goes to a new file beside it, which takes its name at the
// end. Until then, and after any failure, a file that was there before is as it was.
//
// A link leads to the file that is replaced. What is no regular file, such as a pipe, and what a standard stream goes to
// is written directly. So is a file that others follow while it grows: it loses what it held before.
class OutputFile {
public:
    enum class Kind { Replaced, Growing };

    // Fails if the path can't be written, or if it is one of `others`, by whatever name: files that are read, or that are
    // written besides.
    OutputFile(const std::filesystem::path& path, const std::vector<std::filesystem::path>& others,
               Kind kind = Kind::Replaced);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Whether the path leads to where standard output goes.
    bool IsStandardOutput() const { return isStandardOutput; }

    void Write(std::string_view text);
    // Hands all text so far to the system.
    void Flush();
    // All is written.
    void Close();

private:
    [[noreturn]] void FailWithError() const;

    std::string name;
    std::filesystem::path target;
    std::filesystem::path temporary;  // empty for what is written directly
    int descriptor = -1;
    bool isStandardOutput = false;
    std::string pending;
};

// Fails if standard output goes to a file that is read, which would grow by what is made of it.
void RefuseAsStandardOutput(const std::filesystem::path& input);

}  // namespace sarvane::study
