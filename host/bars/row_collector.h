#pragma once

#include "bars/bar_columns.h"
#include "bars/bar_time.h"
#include "frames/frame.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace sarvane::study {

// The frame that bars are wanted of.
struct FrameSettings {
    std::shared_ptr<const Frame> frame = {};  // null for the bars as they come
    bool fills = false;                       // stretches of the session without a row become bars, too
};

// How a file of bars is read. What the user should know of it is told in lines without a line end.
struct ReadSettings {
    bool sort = false;          // rows whose times go neither up nor down
    bool leaveOutBad = false;   // lines that can't be read, instead of failing
    bool leaveOutLate = false;  // rows that lie out of order, instead of failing
    std::function<void(const std::string&)> tell = [](const std::string&) {};
    LayoutSettings layout = {};
    WantedColumns wanted = {};  // nothing for all that have numbers
    FrameSettings to = {};
    bool showsTrades = false;  // each is a bar if no frame is given
};

// Takes all rows of a file before any becomes a bar: only all of them tell how dates are written, and whether the newest
// one stands first.
class RowCollector {
public:
    // `name` is that of the file.
    RowCollector(std::string name, ReadSettings settings);

    // Makes room for about so many rows.
    void Expect(std::size_t rows);
    // The rows are trades: several may have one time, and they may stand in any order.
    void ExpectTrades() { areTrades = true; }
    void Take(const BarRow& row, std::size_t line);
    // A line that can't be read. Fails with the first fault of the lines so far if such lines are not to be left out.
    void Refuse(const std::string& fault, std::size_t line);
    // Puts the rows in the order of their times. Fails with the place of a row that has no place.
    void Finish();

    // The rows by time, from here on.
    std::size_t RowCount() const { return isSeries ? columns.Count() : order.size(); }
    BarRow Row(std::size_t index) const { return columns.Row(isSeries ? index : order[index]); }
    BarTime Time(std::size_t index) const;
    const TimeReader& Times() const { return reader; }
    // Whether no row repeats the time of another one, or stands elsewhere than in the file.
    bool IsSeries() const { return isSeries; }
    // All rows, and their times.
    BarColumns TakeColumns() { return std::move(columns); }
    // Empty where the reader tells the times of all rows by their texts.
    std::vector<BarTime> TakeTimes() { return std::move(times); }

    bool NewestFirst() const { return newestFirst; }
    // Rows with the time of an earlier one.
    std::size_t Repeats() const { return repeats; }

    // What the user should know of the rows, and of the cells without a number.
    const std::vector<std::string>& Notices() const { return notices; }
    std::string GapNotice(const BarHeader& header) const;
    std::size_t LeftOut() const { return leftOut; }

private:
    struct Fault {
        std::size_t line;
        std::string text;
    };

    // Numbers of lines, which mostly follow each other.
    class LineNumbers {
    public:
        void Append(std::size_t line);
        std::size_t Of(std::size_t row) const;

    private:
        std::vector<std::pair<std::size_t, std::size_t>>
            starts;  // rows whose line does not follow that of the row before
        std::size_t count = 0;
    };

    void ReadTimes();
    void HandleFaults();
    void Arrange();
    void ArrangeTrades();
    std::string PlaceOf(std::size_t row) const;
    void Note(const std::string& notice);

    std::string name;
    ReadSettings settings;
    BarColumns columns;
    LineNumbers lines;
    TimeReader reader;
    std::vector<BarTime> times;
    // As long as every row has a later time than the one before, whatever comes later: then no times are kept.
    bool isRising = true;
    BarTime last = {};
    std::vector<std::size_t> order;
    bool isSeries = false;
    bool areTrades = false;
    bool newestFirst = false;
    std::size_t repeats = 0;
    std::vector<Fault> faults;
    GapCount gaps;
    std::size_t leftOut = 0;
    std::vector<std::string> notices;
};

}  // namespace sarvane::study
