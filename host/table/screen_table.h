#pragma once

#include "table/table.h"

#include <vector>

namespace sarvane::study {

// For the eye, in columns. The first lines wait until their widths and decimals are known, and shape all others. Titles
// that are too long for the terminal are cut, and stand in full in a legend.
class ScreenTable : public Table {
public:
    ScreenTable(const TableSettings& settings, Write write, const BarFile& bars, std::span<const Result> results);
    void WriteBar(std::string_view date, std::span<const Result> results) override;
    std::string Finish() override;

private:
    struct Column {
        std::string title;
        std::string shownTitle;  // in the heading, cut if it has to be
        std::size_t width = 0;
        int decimals = 0;
        double largest = 0.0;            // of the values' sizes
        double before = UndefinedValue;  // value of the line before
    };
    struct Line {
        std::string date;
        std::vector<double> values;                     // undefined for texts
        std::vector<std::optional<std::string>> texts;  // of labels and texts
    };

    void Begin();
    void MakeRoomFor(Column& column, double value) const;
    void CutTitles();
    void WriteLegend();
    void WriteLine(const Line& line);
    std::string CellText(const Column& column, const Line& line, std::size_t place) const;

    TableSettings settings;
    Write write;
    std::string dateTitle;
    std::size_t dateWidth;
    int barDecimals;  // of the bars' own numbers
    std::vector<Column> columns;
    std::vector<Line> waiting;
    bool hasBegun = false;
    bool isTooWide = false;  // for the terminal
};

}  // namespace sarvane::study
