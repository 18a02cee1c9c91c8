#pragma once

#include "bars/bar_file.h"
#include "frames/frame_bars.h"

#include <memory>
#include <string>

namespace sarvane::study {

// Fails for trades that no frame makes bars of.
void RefuseTrades(const BarHeader& header, const FrameSettings& to);
// The columns that are wanted of a file, and those that the frame goes by.
WantedColumns WantedWith(const FrameSettings& to, WantedColumns wanted);
// The bars that rows are, or those of a frame that they make.
BarFile BarsIn(const FrameSettings& to, const BarHeader& header, RowCollector rows);

// Makes bars of a frame from the rows of a file: bars or trades, in the order of their times or not.
class BarMaker {
public:
    // `header` is that of the rows. Fails if a column that the frame goes by is missing. With `isOpen` rows may come late.
    BarMaker(const BarHeader& header, const FrameSettings& settings, bool isOpen);

    // The header of the bars.
    const BarHeader& Header() const { return header; }
    // Takes a row and gives the bars that are new or have other values. Fails if its price makes too many bricks.
    BarRange Take(const BarRow& row, const BarTime& time);
    // Takes the bars of a file up to ahead of `end`. Where they have no times they count as a second apart.
    void TakeAll(const BarFile& file, std::size_t end);

    std::size_t BarCount() const { return bars.Count(); }
    BarRow Row(std::size_t bar) const;
    // The first row that a bar is made of, counted from 0.
    std::size_t FirstRow(std::size_t bar) const { return bars.FirstRow(bar); }
    BarFile File() const;

private:
    std::string DateText(std::int64_t time) const;

    BarHeader header;
    std::shared_ptr<const Frame> frame;
    FrameBars bars;
    bool haveClocks = false;  // some bar begins at another time than midnight
};

}  // namespace sarvane::study
