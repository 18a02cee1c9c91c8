#pragma once

#include "output_file.h"
#include "table/table.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace sarvane::study {

struct TableOptions {
    std::optional<TableFormat> format;   // of the file if there is one, else of standard output
    std::string file;                    // to be written; "-" is standard output
    std::optional<std::string> missing;  // as in TableSettings
    std::optional<int> precision;
};

// Where the table of a command goes: to standard output, to a file, or to both, for the eye and for programs.
class TableOutput {
public:
    // A run's bars; bars that come and change; lines that have nothing to do with those above them.
    enum class Kind { Bars, GrowingBars, Separate };

    // Fails if the file can't be written, or is one of `others`, which are read. A growing table is written line by line
    // as the lines come.
    TableOutput(const TableOptions& options, const std::vector<std::filesystem::path>& others, Kind kind);

    // The heading. A further one, over the same results, is only for the eye.
    void Begin(const BarFile& bars, std::span<const Result> results);
    void WriteBar(std::string_view date, std::span<const Result> results);
    // All lines so far are written.
    void Flush();
    // The table is complete. Tells the user of values that the format can't hold.
    void Finish();

    // Whether anybody reads what is still to be written.
    bool IsWanted() const;

private:
    struct Sink {
        TableSettings settings;
        Table::Write write;
        std::string name;
        bool isFile;
        std::unique_ptr<Table> table;
    };

    std::unique_ptr<OutputFile> file;
    std::vector<Sink> sinks;
};

}  // namespace sarvane::study
