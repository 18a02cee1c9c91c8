#pragma once

#include "frames/frame_bar.h"

#include <cstdint>
#include <string>
#include <vector>

namespace sarvane::study {

// What the rows are that bars are made of.
enum class FrameSource {
    Bars,   // each has a time of its own: the same time again has other values for it
    Trades  // any number may have one time
};

struct FrameBarsSettings {
    FrameSource source = FrameSource::Bars;
    // Stretches of the session without a row become bars, too, at the last close and without volume. For frames below a
    // day: a session with start and end is filled on days that have rows, and one without an end between two rows of its
    // day.
    bool fills = false;
    // Rows may come late, and bars may have other values later: all rows are kept.
    bool isOpen = true;
};

// Bars from `first` to ahead of `end` that are new or have other values.
struct BarRange {
    std::size_t first = 0;
    std::size_t end = 0;
};

// The bars of a frame, made of rows with a time and a value for each column: what `bars(source, frame)` gives. Times are
// nanoseconds since 1970, UTC; a bar of a frame of time has the time at which its stretch begins, any other one that of its
// first row, or a nanosecond more than the bar before if that is as late.
class FrameBars {
public:
    // Fails if a column that the frame goes by is missing. Columns are those of the bars.
    static Outcome<FrameBars> Over(std::shared_ptr<const Frame> frame, const std::vector<std::string>& columns,
                                   const FrameBarsSettings& settings = {});

    // Takes a row and tells which bars it has changed. E_INVALIDARG, and nothing done, for a row that is late without
    // being open to that, and for one whose price makes more than FrameBar::MostBricks bricks.
    HRESULT Take(std::int64_t time, const double* row, BarRange& changed);

    std::size_t Count() const { return times.size(); }
    std::int64_t Time(std::size_t bar) const { return times[bar]; }
    double Value(std::size_t column, std::size_t bar) const {
        return bar == closedCount ? forming[column] : closed[column][bar];
    }
    // The first row that a bar is made of, counted from 0; for a bar that fills a gap the first one behind it.
    std::size_t FirstRow(std::size_t bar) const { return firstRows[bar]; }

private:
    FrameBars(std::shared_ptr<const Frame> made, FrameBar taker, std::vector<ColumnRule> byColumn, std::size_t closes,
              const FrameBarsSettings& how);

    HRESULT Append(std::int64_t time, const double* values);
    HRESULT AppendKept(std::size_t row);
    HRESULT TakeAgain(const double* row);
    HRESULT TakeLate(std::int64_t time, const double* row, BarRange& changed);
    bool RebuildOne(std::size_t place, bool isNew, BarRange& changed);
    HRESULT Rebuild(std::size_t place, BarRange& changed);
    void Begin(std::int64_t time);
    void Close();
    void Fill(double end, double begin);
    void SetPresent(std::int64_t time, const double* values);
    void Truncate(std::size_t bars, std::size_t closedBars);

    std::shared_ptr<const Frame> frame;
    FrameBar bars;
    FrameBarsSettings settings;
    std::size_t width;              // columns
    std::vector<ColumnRule> rules;  // by column
    std::size_t closeColumn;
    std::vector<double> present;  // the row that is taken, and its time in seconds behind it

    FrameBar::State state;
    std::vector<double> forming;              // values of the last bar
    std::vector<std::vector<double>> closed;  // of those ahead of it, by column
    std::size_t closedCount = 0;
    std::vector<std::int64_t> times;     // by bar
    std::vector<std::size_t> firstRows;  // by bar
    std::int64_t lastTime;
    std::size_t rowCount = 0;

    // What an open series keeps.
    std::vector<std::int64_t> rowTimes;
    std::vector<double> rows;
    FrameBar::State stateBefore;  // ahead of the last row
    std::vector<double> formingBefore;
    std::size_t countBefore = 0, closedBefore = 0;
};

}  // namespace sarvane::study
