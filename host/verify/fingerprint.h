#pragma once

#include "study.h"

#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <vector>

namespace sarvane::study {

// The fingerprint of numbers, such as "1b4e28ba-2fa1-51d2-883f-0016d3cca427": a name-based UUID (RFC 4122, version 5, in
// the null namespace) of their eight bytes each, in the order of little-endian machines. A gap and every NaN count as the
// NaN 0x7FF8000000000000, so that a host that has NaN for gaps gets the same. Other numbers, of which a single bit
// differs, have another fingerprint.
std::string FingerprintOf(std::span<const double> numbers);
// That of bytes.
std::string FingerprintOf(std::string_view bytes);

// What a run took in and gave, as fingerprints of its columns: `run --fingerprint` writes it as JSON.
struct RunFingerprint {
    struct Column {
        std::string name;
        std::string fingerprint;

        bool operator==(const Column&) const = default;
    };

    std::size_t bars = 0;
    std::string first, last;  // times, in the form of ISO 8601
    RunSettings settings = {};
    bool allOutputs = false;
    std::vector<std::string> expressions = {};
    std::string times = {};  // fingerprint of the times as texts, a line each
    std::vector<Column> inputs = {};
    std::vector<Column> outputs = {};

    nlohmann::ordered_json Json() const;
    // Fails if `text` is not what Json gives; `name` is that of its file.
    static RunFingerprint FromJson(std::string_view text, const std::string& name);
};

RunFingerprint FingerprintRun(const Library& library, const BarFile& bars, const std::vector<std::string>& expressions,
                              const RunSettings& settings, bool allOutputs);

// Where two runs differ, a line each; empty if they are the same to the last bit.
std::vector<std::string> DifferencesBetween(const RunFingerprint& here, const RunFingerprint& there);

}  // namespace sarvane::study
