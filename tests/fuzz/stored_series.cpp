// Any bytes as a stored series. Marks and hashes, which hardly any made-up bytes would have, are put in place first. A
// series that can be read goes on, and comes back as it was written.

#include "series_stream.h"

#include "check.h"

namespace sarvane::fuzz {
namespace {

using namespace study;

std::shared_ptr<const StudyLibrary> Library() {
    static const auto library = StudyLibrary::Load();
    Check(bool(library), "the operator library lies beside the program");
    return *library;
}

// A series that was really written, for the mark and the format's number.
std::string Begin() {
    Compiler compiler(Library(), {});
    return WrittenSeries(Series(compiler.Finish(), {})).substr(0, 24);
}

std::string WithHash(std::string bytes) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char c : bytes) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    for (int shift = 0; shift < 64; shift += 8) bytes += static_cast<char>(hash >> shift & 0xFF);
    return bytes;
}

}  // namespace
}  // namespace sarvane::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace sarvane;
    using namespace sarvane::fuzz;
    static const std::string begin = Begin();
    const std::string bytes = WithHash(begin + std::string(reinterpret_cast<const char*>(data), size));
    auto read = study::ReadSeries(Library(), bytes);
    if (!read) return 0;
    study::Series& series = **read;
    const std::string written = study::WrittenSeries(series);
    const auto again = study::ReadSeries(Library(), written);
    Check(again && study::WrittenSeries(**again) == written, "a series comes back as it was written");
    const std::vector<double> row(series.Compiled().columns.size(), 1.0);
    if (series.BarCount() > 0) series.Correct(0, row);
    return 0;
}
