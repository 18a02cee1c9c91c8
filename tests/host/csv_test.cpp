#include "csv.h"

#include "failure.h"

#include <fmt/ranges.h>
#include <gtest/gtest.h>

namespace sarvane::study {
namespace {

std::string CellsOf(std::string_view line) {
    CellReader reader(line);
    std::vector<std::string> cells;
    try {
        while (const auto cell = reader.Next()) cells.emplace_back(*cell);
    } catch (const Failure& failure) {
        cells.push_back(fmt::format("{}: {}", reader.Column(), failure.what()));
    }
    return fmt::format("{}", fmt::join(cells, "|"));
}

TEST(CellReader, TakesCellsInAndOutOfQuotes) {
    const std::pair<std::string_view, std::string_view> lines[] = {
        {"", ""},
        {"a", "a"},
        {",", "|"},
        {"a,,b,", "a||b|"},
        {" a b\t, c ", "a b|c"},
        {R"("a","b,c" , " d ")", "a|b,c| d "},
        {R"("","""","a""b""")", R"(|"|a"b")"},
        {"\"\x1b[31m\"", "\x1b[31m"},
        {R"(a,"b)", "a|2: a quote that is not closed"},
        {R"(a,"b"")", "a|2: a quote that is not closed"},
        {R"(")", "1: a quote that is not closed"},
        {R"("a"b,c)", "1: a text behind the closing quote of its cell"},
        {R"("a""b" ")", "1: a text behind the closing quote of its cell"},
        {R"(a,b"c")", "a|2: a quote inside a cell that does not begin with one"},
    };
    for (const auto& [line, cells] : lines) EXPECT_EQ(CellsOf(line), cells) << line;
}

TEST(CsvCell, ReadsBackAsItWas) {
    const std::pair<std::string, std::string> cells[] = {
        {"", ""},           {"2020-01-03T00:00+01:00", "2020-01-03T00:00+01:00"},
        {"a,b", "\"a,b\""}, {" a", "\" a\""},
        {"\"", "\"\"\"\""}, {"\x1b]0;\x07", "\"\x1b]0;\x07\""},
        {"é", "é"},
    };
    for (const auto& [text, cell] : cells) {
        EXPECT_EQ(CsvCell(text), cell);
        EXPECT_EQ(CellsOf(cell), text);
    }
}

}  // namespace
}  // namespace sarvane::study
