#pragma once

#include "study.h"

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace sarvane::study {

enum class TableFormat { Screen, Csv, Tsv, Json, Ndjson };

struct TableSettings {
    TableFormat format = TableFormat::Screen;
    std::optional<std::string> missing = {};  // text of a gap: else "-" on the screen, null in JSON, an empty cell
    std::optional<int> precision = {};        // decimals of numbers: else all digits, on the screen those of the bars
    // For the screen alone:
    std::size_t width = 0;  // of the terminal, in characters; 0 for a pipe, where no title is cut
    bool colour = false;    // values above and below those of the line before
    bool atOnce = false;    // no line may wait until the widths of later ones are known
};

// Writes bars and their results, one a line.
class Table {
public:
    using Write = std::function<void(std::string_view lines)>;

    virtual ~Table() = default;
    virtual void WriteBar(std::string_view date, std::span<const Result> results) = 0;
    // Behind the last bar. What has to stand at the end even if lines ahead of it were dropped, after an interrupt.
    virtual std::string Finish() { return ""; }

    // How many values were infinite or no number, where the format has none for them and a gap stands instead.
    std::size_t NotFinite() const { return notFinite; }

protected:
    std::size_t notFinite = 0;
};

// `write` gets whole lines.
std::unique_ptr<Table> MakeTable(const TableSettings& settings, Table::Write write, const BarFile& bars,
                                 std::span<const Result> results);

// What stands in the cell of a label or a text, which may be empty. Nothing for a number.
std::optional<std::string> TextOf(const Result& result);

// The titles of results. One that stands there already, in whatever letter case, gets a number: "Close (2)". So a file of
// them can be read as one of bars.
std::vector<std::string> UniqueTitles(const BarFile& bars, std::span<const Result> results);

}  // namespace sarvane::study
