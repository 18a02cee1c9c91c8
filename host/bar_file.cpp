#include "bar_file.h"

#include "failure.h"
#include "library.h"
#include "progress.h"
#include "sarvane/values.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <csv.h>
#include <memory>

namespace sarvane::study {
namespace {

constexpr std::size_t LongestLine = 1 << 20;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

// A whole cell as a finite number.
std::optional<double> ParseCell(std::string_view cell) {
    if (cell.starts_with('+')) cell.remove_prefix(1);
    double value = 0.0;
    const auto [end, error] = std::from_chars(cell.data(), cell.data() + cell.size(), value);
    if (error != std::errc() || end != cell.data() + cell.size() || !std::isfinite(value)) return std::nullopt;
    return value;
}

}  // namespace

// Feeds a file to the parser line by line and takes its cells. The parser is C, so a fault inside one of its calls is
// kept until the call is over.
class BarFileReader {
public:
    explicit BarFileReader(BarFile& target) : bars(target) {
        if (csv_init(&parser, CSV_STRICT | CSV_STRICT_FINI) != 0) throw std::bad_alloc();
    }
    ~BarFileReader() { csv_free(&parser); }
    BarFileReader(const BarFileReader&) = delete;
    BarFileReader& operator=(const BarFileReader&) = delete;

    void Read(const std::filesystem::path& path) {
        const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "rb"));
        if (!file) Fail("{}: {}", bars.name, std::strerror(errno));
        std::error_code unknown;
        const auto size = std::filesystem::file_size(path, unknown);
        Progress progress("reading " + bars.name, unknown ? 0.0 : static_cast<double>(size));

        std::vector<char> chunk(1 << 16);
        double done = 0.0;
        while (const std::size_t length = std::fread(chunk.data(), 1, chunk.size(), file.get())) {
            Feed({chunk.data(), length}, done == 0.0);
            progress.Update(done += static_cast<double>(length));
        }
        if (std::ferror(file.get())) Fail("{}: {}", bars.name, std::strerror(errno));
        Checked(csv_fini(&parser, &OnCell, &OnRow, this) == 0);
        if (cellsInHeader == 0) Fail("{}: the file is empty", bars.name);
    }

private:
    void Feed(std::string_view text, bool first) {
        constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";
        if (first && text.starts_with(ByteOrderMark)) text.remove_prefix(ByteOrderMark.size());
        while (!text.empty()) {
            const std::size_t newline = text.find('\n');
            const std::size_t length = newline == std::string_view::npos ? text.size() : newline + 1;
            lineLength += length;
            if (lineLength > LongestLine) Fail("{}:{}: the line does not end", bars.name, line);
            Checked(csv_parse(&parser, text.data(), length, &OnCell, &OnRow, this) == length);
            if (newline != std::string_view::npos) {
                ++line;
                lineLength = 0;
            }
            text.remove_prefix(length);
        }
    }

    void Checked(bool parsed) {
        if (!fault.empty()) throw Failure(fault);
        if (parsed) return;
        const int error = csv_error(&parser);
        if (error == CSV_ENOMEM) throw std::bad_alloc();
        Fail("{}:{}: {}", bars.name, line,
             error == CSV_EPARSE ? "a quote in the wrong place, or not closed" : csv_strerror(error));
    }

    static void OnCell(void* text, std::size_t length, void* self) {
        static_cast<BarFileReader*>(self)->TakeCell({static_cast<const char*>(text), length});
    }
    static void OnRow(int, void* self) { static_cast<BarFileReader*>(self)->EndRow(); }

    void TakeCell(std::string_view cell) {
        const std::size_t column = cells++;
        if (!fault.empty()) return;
        if (cellsInHeader == 0) {
            TakeTitle(cell, column);
        } else if (column >= cellsInHeader) {
            Refuse(fmt::format("a cell too many, the header names {}", cellsInHeader));
        } else if (column == 0) {
            bars.dates += cell;
        } else {
            const std::optional<double> value = cell.empty() ? UndefinedValue : ParseCell(cell);
            if (!value) return Refuse(fmt::format("{} is no number ({})", Quoted(cell), bars.titles[column - 1]));
            bars.values[column - 1].push_back(*value);
        }
    }

    void TakeTitle(std::string_view title, std::size_t column) {
        if (column == 0) {
            if (!EqualIgnoringCase(title, "date") && !EqualIgnoringCase(title, "time"))
                return Refuse(fmt::format("the first column is {}, not date or time", Quoted(title)));
            bars.dateTitle = title;
        } else if (title.empty()) {
            Refuse("a column without a name");
        } else if (bars.FindColumn(title)) {
            Refuse(fmt::format("a second column {}", Quoted(title)));
        } else {
            bars.titles.emplace_back(title);
        }
    }

    void EndRow() {
        if (!fault.empty()) return;
        if (cellsInHeader == 0) {
            cellsInHeader = cells;
            bars.values.resize(bars.titles.size());
        } else if (cells < cellsInHeader) {
            Refuse(fmt::format("the line ends here, the header names {} columns", cellsInHeader));
        } else {
            bars.dateEnds.push_back(bars.dates.size());
        }
        cells = 0;
    }

    // The place is the cell that came last.
    void Refuse(std::string_view what) { fault = fmt::format("{}:{}:{}: {}", bars.name, line, cells, what); }

    BarFile& bars;
    csv_parser parser;
    std::string fault;
    std::size_t line = 1;
    std::size_t lineLength = 0;
    std::size_t cells = 0;          // of the present row so far
    std::size_t cellsInHeader = 0;  // 0 until the header has been read
};

BarFile::BarFile(const std::filesystem::path& file) : name(file.string()) { BarFileReader(*this).Read(file); }

std::optional<std::size_t> BarFile::FindColumn(std::string_view title) const {
    const auto found = std::ranges::find_if(titles, [&](const auto& known) { return EqualIgnoringCase(known, title); });
    if (found == titles.end()) return std::nullopt;
    return static_cast<std::size_t>(found - titles.begin());
}

}  // namespace sarvane::study
