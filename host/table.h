#pragma once

#include "output_file.h"
#include "study.h"

#include <span>
#include <string_view>
#include <vector>

namespace sarvane::study {

// Writes the bars of a run, one a line.
class Table {
public:
    virtual ~Table() = default;
    virtual void WriteBar(std::string_view date, std::span<const Result> results) = 0;
};

// For the eye, in columns.
class ScreenTable : public Table {
public:
    ScreenTable(const BarFile& bars, std::span<const Result> results);
    void WriteBar(std::string_view date, std::span<const Result> results) override;

private:
    std::size_t dateWidth;
    std::vector<std::size_t> widths;  // of the results
};

// For programs, as comma-separated values with all digits. A gap is an empty cell, and so is a value that is not finite,
// for which most programs have no number.
class CsvTable : public Table {
public:
    CsvTable(OutputFile& file, const BarFile& bars, std::span<const Result> results);
    void WriteBar(std::string_view date, std::span<const Result> results) override;

    // How many values were not finite.
    std::size_t NotFinite() const { return notFinite; }

private:
    OutputFile& file;
    std::size_t notFinite = 0;
};

}  // namespace sarvane::study
