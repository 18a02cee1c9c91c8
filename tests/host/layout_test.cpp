#include "bars/layout.h"

#include "bars/bar_file.h"
#include "bars/cell_reader.h"
#include "bars/column_names.h"
#include "failure.h"
#include "sarvane/values.h"
#include "table/csv.h"
#include "temporary_file.h"

#include <fmt/ranges.h>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <tuple>

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

struct KnownFile {
    const char* name;
    const char* lastTime;
    const char* columns;  // besides open, high, low and close
    const char* layout;   // as it is told
};

// Six bars of the shipped data as others write them.
const KnownFile knownFiles[] = {
    {"alpha_vantage.csv", "2020-04-17", "volume", ""},
    {"binance.csv", "2020-04-17", "volume,close_time,quote_volume,count,taker_buy_volume,taker_buy_quote_volume,ignore",
     "times as unix-us"},
    {"binance_headerless.csv", "2020-04-17",
     "volume,close_time,quote_volume,count,taker_buy_volume,taker_buy_quote_volume,ignore",
     "no header, times as unix-ms, the columns open_time, open, high, low, close, volume, ..."},
    {"blanks.txt", "2020-04-17 16:00", "", "the delimiter space, times from Date and Time"},
    {"crypto_data_download.csv", "2020-04-17 00:00:00", "unix,symbol,Volume BTC,Volume USD",
     "2 lines ahead of the data"},
    {"data_frame.csv", "2020-04-17", "symbol,volume", ""},
    {"datareader_multiple.csv", "2020-04-17", "Adj Close,Volume", "3 lines ahead of the data"},
    {"dukascopy.csv", "17.04.2020 00:00:00.000", "Volume", ""},
    {"german.csv", "17.04.2020", "volume",
     "the delimiter semicolon, decimal commas, open from \"Er\xC3\xB6"
     "ffnung\", high from \"Hoch\", low from \"Tief\", close from \"Schluss\", volume from \"St\xC3\xBC"
     "cke\""},
    {"interactive_brokers.txt", "20200417  16:00:00", "volume,average,barCount", ""},
    {"investing.csv", "04/17/2020", "volume,Change %", "close from \"Price\", volume from \"Vol.\""},
    {"investing_german.csv", "17.04.2020", "volume,+/- %",
     "decimal commas, close from \"Zuletzt\", open from \"Er\xC3\xB6"
     "ffn.\", high from \"Hoch\", low from \"Tief\", volume from \"Vol.\""},
    {"kraken.csv", "2020-04-17", "volume,count",
     "no header, times as unix, the columns date, open, high, low, close, volume, count"},
    {"metatrader4.csv", "2020.04.17", "volume",
     "no header, times from date and time, the columns date, time, open, high, low, close, volume"},
    {"metatrader5.csv", "2020.04.17 16:00:00", "tickvol,volume,SPREAD",
     "the delimiter tab, times from DATE and TIME, volume from \"<VOL>\""},
    {"nasdaq.csv", "04/17/2020", "Volume", "close from \"Close/Last\""},
    {"ninja_trader.txt", "20200417 160000", "volume",
     "the delimiter semicolon, no header, the columns date, open, high, low, close, volume"},
    {"polygon.csv", "2020-04-17", "volume,vw,n",
     "times as unix-ms, volume from \"v\", open from \"o\", close from \"c\", high from \"h\", low "
     "from "
     "\"l\""},
    {"polygon_flat.csv", "2020-04-17", "ticker,volume,transactions", "times as unix-ns"},
    {"stooq.csv", "2020-04-17", "Volume", ""},
    {"stooq.csv.gz", "2020-04-17", "Volume", ""},
#ifndef _WIN32
    {"stooq.csv.zst", "2020-04-17", "Volume", ""},
#endif
    {"stooq.txt", "20200417", "TICKER,PER,volume,openint", "times from DATE and TIME, volume from \"<VOL>\""},
    {"stooq_polish.csv", "2020-04-17", "volume",
     "open from \"Otwarcie\", high from \"Najwyzszy\", low from \"Najnizszy\", close from "
     "\"Zamkniecie\", volume from \"Wolumen\""},
    {"tradingview.csv", "2020-04-17", "Volume,Volume MA", "times as unix"},
    {"tradingview_iso.csv", "2020-04-17T13:30:00Z", "", ""},
    {"yahoo_new.txt", "Apr 17, 2020", "Adj Close,Volume", "the delimiter tab"},
    {"yahoo_old.csv", "2020-04-17", "Adj Close,Volume", ""},
    {"yfinance_multiple.csv", "2020-04-17", "Volume", "3 lines ahead of the data"},
    {"yfinance_single.csv", "2020-04-17 00:00:00-04:00", "Adj Close,Volume", ""},
};

TEST(Layout, IsFoundForTheFilesOfManySources) {
    const BarFile shipped(BAR_FILE);
    for (const KnownFile& known : knownFiles) {
        SCOPED_TRACE(known.name);
        ReadSettings settings;
        std::vector<std::string> titles;
        settings.wanted = [&](const std::vector<std::string>& all, const std::vector<bool>&) {
            std::vector<bool> wanted;
            for (const std::string& title : all) {
                const std::string_view name = StandardName(title);
                wanted.push_back(name == "open" || name == "high" || name == "low" || name == "close");
                if (!wanted.back()) titles.push_back(title);
            }
            return wanted;
        };
        const FileReading reading =
            ReadBarFile(PROJECT_FOLDER "/tests/host/layouts/" + std::string(known.name), settings);
        EXPECT_EQ(titles.back(), "time");  // that of the file's times
        titles.pop_back();
        EXPECT_EQ(fmt::format("{}", fmt::join(titles, ",")), known.columns);
        EXPECT_EQ(reading.layout.Text(), known.layout);
        const BarFile& bars = reading.bars;
        ASSERT_GE(bars.BarCount(), 6u);
        EXPECT_EQ(bars.Date(5), known.lastTime);
        for (std::size_t bar = 0; bar < 6; ++bar) {
            for (const char* name : {"open", "high", "low", "close"}) {
                EXPECT_EQ(bars.Value(bars.FindColumn(name).value(), bar),
                          shipped.Value(*shipped.FindColumn(name), shipped.BarCount() - 6 + bar));
            }
        }
    }
}

TEST(Layout, IsAnErrorWhereItCantBeFound) {
    const auto columns = [](LayoutSettings settings) { return ReadSettings{.layout = std::move(settings)}; };
    const std::tuple<std::string, ReadSettings, std::string> files[] = {
        {"date;close\n2020-01-01;1,234\n", {}, "--decimal says which"},
        {"date;close\n2020-01-01;1,234\n", columns({.decimal = '.'}), "1234"},
        {"date;close\n2020-01-01;1,234\n", columns({.decimal = ','}), "1.234"},
        {"date;a;close\n2020-01-01;1,5;2.5\n", {}, "--decimal says which one it is"},
        {"date;close\n2020-01-01;1.234,5\n", {}, "1234.5"},
        {"date;close\n2020-01-01;1'234.5\n", {}, "1234.5"},
        {"date;close\n2020-01-01;1.5\n2020-01-02;1,234\n", {}, "1.5 1234"},
        {"date;close\n2020-01-01;5\n" + std::string(300, '\n') + "2020-01-02;12,34.5\n", {}, "is no number"},
        {"date,close\n2020-01-01,-$2.5\n2020-01-02,2.5%\n", {}, "-2.5 2.5"},
        {"2020-01-01,5,4,3,2\n", {}, "are not open, high, low and close"},
        {"2020-01-01,5,4,3,4,1,1,1\n", {}, "--names date,open,high,low,close"},
        {"2020-01-01,5,4\n", columns({.names = {"date", "", "close"}}), "4"},
        {"2020-01-01,5,4\n", columns({.names = {"date", "close"}}), "--names has 2 names"},
        {"a,b\n2020-01-01,5\n", columns({.names = {"date", "close"}}), "5"},
        {"date,close\n1/2/20,5\n", {}, "--time-format"},
        {"date,close\n12/16/19,5\n1/2/20,6\n", {}, "5 6 at 2020-01-02"},
        {"date,open,close\n2020-01-01,5,6\nTotal: 1\n", {}, "5 at 2020-01-01"},
        {"date,open,close\n2020-01-01,5,6\nTotal: 1\n2020-01-02,5,6\n", {}, ":3:1: the line ends here"},
        {"date,close\n1/2/20,5\n", columns({.times = TimeFormatOf("%d/%m/%y")}), "5 at 2020-02-01"},
        {"date,close\n1/2/2020,5\n", columns({.times = TimeFormatOf("day-first")}), "5 at 1/2/2020"},
        {"date,close\n1577836800,5\n1577836800.5,6\n", {}, "5 6 at 2020-01-01 00:00:00.5"},
        {"date,close\n202001020930,5\n", {}, "5 at 20200102 0930"},
        {"date,close\n2020-01-01,\"5\n", {}, ":2:2: a quote that is not closed"},
        {std::string("d\0a\0t\0e\0,\0c\0\n\0"
                     "1\0,\0"
                     "2\0",
                     20),
         {},
         "2 at 1"},
    };
    for (const auto& [content, settings, expected] : files) {
        const TemporaryFile file(content);
        std::string outcome;
        try {
            const BarFile bars(file.Path(), settings);
            for (std::size_t bar = 0; bar < bars.BarCount(); ++bar) outcome += fmt::format("{} ", bars.Value(0, bar));
            outcome += fmt::format("at {}", bars.Date(bars.BarCount() - 1));
        } catch (const Failure& failure) {
            outcome = failure.what();
        }
        EXPECT_NE(outcome.find(expected), std::string::npos) << content << outcome;
    }
}

TEST(Layout, LeavesTextsAloneThatNobodyAsksFor) {
    const TemporaryFile file("date,sector,close,size\n2020-01-01,x,1,7.78M\n2020-01-02,y,2,8\n");
    const auto read = [&](std::vector<bool> wanted, bool textIsGap) {
        ReadSettings settings;
        settings.layout.textIsGap = textIsGap;
        settings.wanted = [&](const std::vector<std::string>&, const std::vector<bool>&) { return wanted; };
        const BarFile bars(file.Path(), settings);
        return fmt::format("{} {}", fmt::join(bars.Columns(), ","),
                           bars.Value(0, 0) == UndefinedValue ? "gap" : "number");
    };
    EXPECT_EQ(read({false, true, false}, false), "close number");
    EXPECT_THROW(read({true, true, false}, false), Failure);
    EXPECT_THROW(read({false, false, true}, false), Failure);
    EXPECT_EQ(read({false, false, true}, true), "size gap");
}

TEST(ByteSource, TellsOfDamagedContent) {
    std::ifstream whole(PROJECT_FOLDER "/tests/host/layouts/stooq.csv.gz", std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(whole)), {});
    std::string damaged = bytes;
    damaged[bytes.size() / 2] ^= 0x55;
    for (const std::string& content : {bytes.substr(0, bytes.size() - 9), damaged})
        EXPECT_THROW(BarFile(TemporaryFile(content).Path()), Failure);
    EXPECT_EQ(BarFile(TemporaryFile(bytes).Path()).BarCount(), 6u);
}

}  // namespace
}  // namespace sarvane::study
