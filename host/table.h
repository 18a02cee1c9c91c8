#pragma once

#include "study.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace sarvane::study {

// Writes the bars of a run, one a line.
class Table {
public:
    virtual ~Table() = default;
    virtual void WriteBar(std::string_view date, const Study& study) = 0;
};

// For the eye, in columns.
class ScreenTable : public Table {
public:
    ScreenTable(const BarFile& bars, const Study& study);
    void WriteBar(std::string_view date, const Study& study) override;

private:
    std::size_t dateWidth;
    std::vector<std::size_t> widths;  // of the results
};

// For programs, as comma-separated values with all digits.
class CsvTable : public Table {
public:
    CsvTable(const std::string& file, const BarFile& bars, const Study& study);
    void WriteBar(std::string_view date, const Study& study) override;
    // Fails if what was written did not reach the file.
    void Close();

private:
    void WriteCell(std::string text, bool first);

    struct CloseFile {
        void operator()(std::FILE* stream) const { std::fclose(stream); }
    };
    std::string name;
    std::unique_ptr<std::FILE, CloseFile> file;
};

}  // namespace sarvane::study
