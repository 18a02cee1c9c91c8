#pragma once

#include "study.h"

#include <filesystem>
#include <string>
#include <vector>

namespace sarvane::study {

struct ScanSettings {
    std::vector<std::filesystem::path> files;
    std::vector<std::string> expressions;
    std::string where;  // an expression that is not 0 on the last bar of the files that are wanted; empty for all files
    std::string sortBy;  // an expression whose greatest values come first; empty for the order of `files`
    bool ascending = false;
    std::size_t threads = 1;
    ReadSettings reading = {};
    RunSettings run = {};
};

// The last bar of a file.
struct ScanRow {
    std::string symbol;  // the name of the file without its ending
    std::string date;
    std::vector<double> values;  // of the columns
};

struct ScanResult {
    std::vector<ResultColumn> columns;  // without those of `where` and `sortBy`
    std::vector<ScanRow> rows;          // of the files that are wanted, sorted; a gap comes last, equals by their order
    std::size_t badFiles = 0;
    std::vector<std::string> faults;   // of bad files: the same fault of several files is one line
    std::vector<std::string> notices;  // of files that were read
    std::vector<std::string> warnings;
};

// Runs the expressions over every file. The result does not depend on the number of threads.
ScanResult Scan(const Library& library, const ScanSettings& settings);

}  // namespace sarvane::study
