#include "bars/byte_source.h"

#include "failure.h"
#include "path.h"
#include "platform/system.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <vector>
#include <zlib.h>
#ifdef SARVANE_ZSTD
#include <zstd.h>
#endif

namespace sarvane::study {
namespace {

constexpr std::size_t ChunkSize = 1 << 18;
constexpr std::string_view GzipStart = "\x1F\x8B", ZstdStart = "\x28\xB5\x2F\xFD";

// Turns compressed bytes into what they stand for.
class Unpacker {
public:
    virtual ~Unpacker() = default;
    // Takes bytes from the front of `packed` and puts others at the front of `bytes`, which it shortens. False if the
    // content is damaged.
    virtual bool Unpack(std::span<const char>& packed, std::span<char>& bytes) = 0;
    // Whether the content may end here.
    virtual bool IsWhole() const = 0;
};

// Of gzip, also of several contents one behind the other.
class GzipUnpacker : public Unpacker {
public:
    GzipUnpacker() {
        if (inflateInit2(&stream, 15 + 16) != Z_OK) throw std::bad_alloc();
    }
    ~GzipUnpacker() override { inflateEnd(&stream); }

    bool Unpack(std::span<const char>& packed, std::span<char>& bytes) override {
        if (isWhole && !packed.empty()) {
            if (packed.front() == '\0') {  // what some devices fill their blocks with
                packed = {};
                return true;
            }
            inflateReset(&stream);
            isWhole = false;
        }
        stream.next_in = const_cast<Bytef*>(reinterpret_cast<const Bytef*>(packed.data()));
        stream.avail_in = static_cast<uInt>(packed.size());
        stream.next_out = reinterpret_cast<Bytef*>(bytes.data());
        stream.avail_out = static_cast<uInt>(bytes.size());
        const int status = inflate(&stream, Z_NO_FLUSH);
        packed = packed.last(stream.avail_in);
        bytes = bytes.last(stream.avail_out);
        isWhole = status == Z_STREAM_END;
        return isWhole || status == Z_OK || status == Z_BUF_ERROR;
    }
    bool IsWhole() const override { return isWhole; }

private:
    z_stream stream = {};
    bool isWhole = false;
};

#ifdef SARVANE_ZSTD
class ZstdUnpacker : public Unpacker {
public:
    ZstdUnpacker() : stream(ZSTD_createDStream()) {
        if (!stream) throw std::bad_alloc();
    }
    ~ZstdUnpacker() override { ZSTD_freeDStream(stream); }

    bool Unpack(std::span<const char>& packed, std::span<char>& bytes) override {
        ZSTD_inBuffer in = {packed.data(), packed.size(), 0};
        ZSTD_outBuffer out = {bytes.data(), bytes.size(), 0};
        const std::size_t status = ZSTD_decompressStream(stream, &out, &in);
        packed = packed.subspan(in.pos);
        bytes = bytes.subspan(out.pos);
        isWhole = status == 0;
        return ZSTD_isError(status) == 0;
    }
    bool IsWhole() const override { return isWhole; }

private:
    ZSTD_DStream* stream;
    bool isWhole = false;
};
#endif

}  // namespace

bool LooksCompressed(std::string_view start) { return start.starts_with(GzipStart) || start.starts_with(ZstdStart); }

struct ByteSource::State {
    std::string name;
    std::FILE* file = nullptr;  // null for standard input
    double size = 0.0;
    double position = 0.0;
    std::vector<char> chunk = std::vector<char>(ChunkSize);
    std::span<const char> rest;  // of the chunk
    bool hasBegun = false;
    bool atEnd = false;
    std::unique_ptr<Unpacker> unpacker;  // of compressed content

    ~State() {
        if (file) std::fclose(file);
    }

    // Reads more bytes behind those that are left. False at the end.
    bool ReadChunk() {
        std::ranges::copy(rest, chunk.begin());
        const std::span<char> free = std::span(chunk).subspan(rest.size());
        std::size_t length = 0;
        if (file) {
            length = std::fread(free.data(), 1, free.size(), file);
            if (std::ferror(file)) Fail("{}: {}", name, std::strerror(errno));
        } else {
            const long long count = ReadText(StandardInput(), free.data(), free.size());
            if (count < 0) Fail("{}: {}", name, std::strerror(errno));
            length = static_cast<std::size_t>(count);
        }
        position += static_cast<double>(length);
        rest = std::span(chunk).first(rest.size() + length);
        return length > 0;
    }

    void Begin() {
        hasBegun = true;
        // A pipe may give a single byte at first, which tells nothing.
        while (rest.size() < ZstdStart.size() && ReadChunk()) {
        }
        const std::string_view start(rest.data(), rest.size());
        if (start.starts_with(GzipStart)) unpacker = std::make_unique<GzipUnpacker>();
        if (start.starts_with(ZstdStart)) {
#ifdef SARVANE_ZSTD
            unpacker = std::make_unique<ZstdUnpacker>();
#else
            Fail("{}: is compressed by zstd, which this build of study can't unpack", name);
#endif
        }
    }
};

ByteSource::ByteSource(const std::filesystem::path& path) : state(std::make_unique<State>()) {
    const bool isInput = path == "-";
    state->name = isInput ? "standard input" : TextOf(path);
    if (isInput) return;
    state->file = std::fopen(TextOf(path).c_str(), "rb");
    if (!state->file) Fail("{}: {}", state->name, std::strerror(errno));
    std::setvbuf(state->file, nullptr, _IONBF, 0);  // chunks are large
    std::error_code unknown;
    const auto size = std::filesystem::file_size(path, unknown);
    if (!unknown) state->size = static_cast<double>(size);
}

ByteSource::~ByteSource() = default;
ByteSource::ByteSource(ByteSource&&) noexcept = default;

const std::string& ByteSource::Name() const { return state->name; }
double ByteSource::Size() const { return state->size; }
double ByteSource::Position() const { return state->position; }
bool ByteSource::IsCompressed() const { return state->unpacker != nullptr; }

std::size_t ByteSource::Read(std::span<char> bytes) {
    if (!state->hasBegun) state->Begin();
    std::span<char> free = bytes;
    while (free.size() == bytes.size() && !state->atEnd) {
        if (state->rest.empty()) state->atEnd = !state->ReadChunk();
        if (state->unpacker) {
            const bool isWhole = state->unpacker->IsWhole();
            if (state->atEnd && isWhole) break;
            const std::size_t before = free.size();
            if (!state->unpacker->Unpack(state->rest, free)) Fail("{}: the compressed content is damaged", state->name);
            if (state->atEnd && free.size() == before && !state->unpacker->IsWhole())
                Fail("{}: the compressed content ends too early", state->name);
            state->atEnd = state->atEnd && free.size() == before;
        } else {
            const std::size_t length = std::min(free.size(), state->rest.size());
            std::memcpy(free.data(), state->rest.data(), length);
            state->rest = state->rest.subspan(length);
            free = free.subspan(length);
        }
    }
    return bytes.size() - free.size();
}

}  // namespace sarvane::study
