#pragma once

#include "bars/bar_columns.h"
#include "bars/bar_time.h"
#include "bars/row_collector.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sarvane::study {

// A series of bars, from the oldest to the newest. Each has a time of its own: the same time again changes its bar.
//
// A file of bars has a line for each bar, and mostly a header line that names its columns; docs/bar_files.md tells what is
// read.
class BarFile {
public:
    // Fails with file, line and column of the first fault.
    explicit BarFile(const std::filesystem::path& file, const ReadSettings& settings = {});
    // The bars of rows that have been finished.
    BarFile(BarHeader header, RowCollector rows);
    // No bars so far.
    explicit BarFile(BarHeader header, TimeReader times = {});

    const std::string& Name() const { return header.name; }
    const BarHeader& Header() const { return header; }
    std::size_t BarCount() const { return columns.Count(); }

    // The heading of the dates.
    const std::string& DateTitle() const { return header.dateTitle; }
    // As the file has it, on the first line of the bar.
    std::string_view Date(std::size_t bar) const { return columns.Date(bar); }
    // In a form of ISO 8601, unless it is no time.
    std::string IsoDate(std::size_t bar) const;
    bool HasTimes() const { return reader.HasTimes(); }
    BarTime Time(std::size_t bar) const;

    // Names of the columns of numbers, as the file has them.
    const std::vector<std::string>& Columns() const { return header.titles; }
    std::optional<std::size_t> FindColumn(std::string_view title) const { return header.FindColumn(title); }
    double Value(std::size_t column, std::size_t bar) const { return columns.values[column][bar]; }
    BarRow Row(std::size_t bar) const { return columns.Row(bar); }
    // What bars of the file were before a further line with their time changed them, in the order of the bars.
    struct Tick {
        std::size_t bar;
        std::vector<double> values;
    };
    const std::vector<Tick>& Ticks() const { return ticks; }

    // The bar with this date, or BarCount() for a date behind all bars. Fails if it is no time, or lies before the last
    // bar and is none of the bars.
    std::size_t BarOf(std::string_view date);
    // Adds a bar with a date behind all bars.
    void Append(const BarRow& row);
    // Gives a bar other values; its date stays.
    void Replace(std::size_t bar, const std::vector<double>& row);

    // How many times it was found that dates are written in another way than was thought, so that all times changed.
    std::size_t TimeChanges() const { return timeChanges; }

    // What the user should know of the dates since the last call.
    std::vector<std::string> TakeNotices() { return reader.TakeNotices(); }

private:
    bool ReadAnew(std::string_view date);
    void FillTimes();
    void WriteTime(std::size_t bar);
    void WriteTimes();

    BarHeader header;
    TimeReader reader;
    BarColumns columns;
    std::vector<Tick> ticks;
    std::size_t timeChanges = 0;
    std::vector<BarTime> times;  // of the bars; empty for those of a file until somebody asks for a bar by its time
};

// A file of bars, and what was found out about it.
struct FileReading {
    Layout layout;
    Encoding encoding;
    bool isCompressed;
    bool newestFirst;
    std::size_t repeats;  // lines with the time of an earlier one
    std::size_t leftOut;  // lines
    bool areTrades;       // and no frame made bars of them
    BarFile bars;
};

// Fails with file, line and column of the first fault.
FileReading ReadBarFile(const std::filesystem::path& file, const ReadSettings& settings);

// The columns of a file that expressions may use, without reading its bars.
std::vector<std::string> ReadColumns(const std::filesystem::path& file, const LayoutSettings& settings = {});

}  // namespace sarvane::study
