#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <span>
#include <string>

namespace sarvane::study {

// The content of a file, or of standard input for "-", from its start to its end. Content that is compressed by gzip or
// zstd is unpacked; its first bytes tell, not the name of the file.
class ByteSource {
public:
    // Fails if the file can't be opened.
    explicit ByteSource(const std::filesystem::path& file);
    ~ByteSource();
    ByteSource(ByteSource&&) noexcept;

    // What messages call it.
    const std::string& Name() const;
    // Bytes of the file, 0 if that is not known, and how many of them were read so far.
    double Size() const;
    double Position() const;
    bool IsCompressed() const;

    // Reads on: fills at least a part of `bytes`, and tells how many; 0 at the end. Fails if that is not possible, also if
    // compressed content is damaged or ends too early.
    std::size_t Read(std::span<char> bytes);

private:
    struct State;
    std::unique_ptr<State> state;
};

// Whether a content with this start is compressed in a way that a ByteSource unpacks.
bool LooksCompressed(std::string_view start);

}  // namespace sarvane::study
