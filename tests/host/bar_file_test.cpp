#include "bars/bar_file.h"

#include "failure.h"
#include "sarvane/values.h"
#include "temporary_file.h"

#include <algorithm>
#include <fmt/format.h>
#include <gtest/gtest.h>

namespace sarvane::study {
namespace {

TEST(BarFile, ReadsColumnsInAnyOrderAndCase) {
    const TemporaryFile file("\xEF\xBB\xBFTime,CLOSE,Open,My Own\r\n"
                             "\"2020, one\", 1.5 ,+2,\r\n"
                             "\n"
                             "two,-3e2,4,.5");
    const BarFile bars(file.Path());
    ASSERT_EQ(bars.BarCount(), 2u);
    EXPECT_EQ(bars.DateTitle(), "Time");
    EXPECT_EQ(bars.Date(0), "2020, one");
    EXPECT_EQ(bars.Date(1), "two");
    EXPECT_EQ(bars.FindColumn("close"), 0u);
    EXPECT_EQ(bars.FindColumn("my own"), 2u);
    EXPECT_FALSE(bars.FindColumn("high"));
    EXPECT_EQ(bars.Value(0, 0), 1.5);
    EXPECT_EQ(bars.Value(1, 0), 2.0);
    EXPECT_EQ(bars.Value(2, 0), UndefinedValue);
    EXPECT_EQ(bars.Value(0, 1), -300.0);
    EXPECT_EQ(bars.Value(2, 1), 0.5);
}

TEST(RowReader, ReadsLinesAsTheyComeAndGoesOnBehindABadOne) {
    RowReader reader("ticks");
    std::vector<std::string> seen;
    const std::string text = "date,close\r\n\r\na,1\nb,\"2\nc,x\nd,3,4\ne,5\rf,6";
    for (const char c : text + "$") {  // a letter at a time, then the end
        c == '$' ? reader.End() : reader.Add({&c, 1});
        for (bool more = true; more;) {
            try {
                more = reader.Next();
                if (more) seen.push_back(fmt::format("{} {}", reader.Row().date, reader.Row().values[0]));
            } catch (const Failure& failure) {
                seen.push_back(failure.what());
            }
        }
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"a 1", "ticks:4:2: a quote that is not closed",
                                              "ticks:5:2: \"x\" is no number (close)",
                                              "ticks:6:3: a cell too many, there are 2 columns", "e 5", "f 6"}));
}

TEST(BarFile, NamesThePlaceOfAFault) {
    const std::pair<std::string, const char*> faults[] = {
        {"", ": the file is empty"},
        {"\n\n", ": the file is empty"},
        {"open,close\n", ":1: no column has times: the columns are \"open\", \"close\""},
        {"date,open,OPEN\n", ":1: a second column \"OPEN\""},
        {"date,close\na,1\nb,x1\n", ":3:2: \"x1\" is no number (close)"},
        {"date,close\na,1e999\n", ":2:2: \"1e999\" is no number"},
        {"date,close\na,inf\n", ":2:2: \"inf\" is no number"},
        {"date,close\n2020-01-01,1\n2020-01-32,2\nc,x\n", ":3:1: \"2020-01-32\" is no time"},
        {"date,close\n2020-01-01,1\n,2\n", ":3:1: a line without a time"},
        {"date,close\n13/01/2020,1\n01/02/2020,2\n02/13/2020,3\n",
         ":4:1: \"02/13/2020\" has day and month the other way round than \"13/01/2020\""},
        {"date,close\n2020-01-01,1\n2020-01-03,2\n2020-01-02,3\n",
         ":4:1: times go neither up nor down: 2020-01-02 here, 2020-01-03 in line 3; --sort puts them in order"},
        {"date,close\n2020-01-04,1\n2020-01-02,2\n2020-01-03,3\n2020-01-01,4\n",
         ":3:1: times go neither up nor down: 2020-01-02 here, 2020-01-03 in line 4; --sort puts them in order"},
        {"date,close\na,1\n\n\nb,2\nc\n", ":6:1: the line ends here"},
        {"date,close\na,1,2\n", ":2:3: a cell too many"},
        {"date,close\na,\"1\n", ":2:2: a quote that is not closed"},
        {std::string("\x7F"
                     "ELF\0\1\2,\n\3",
                     10),
         ":1: no column has times"},
        {"date," + std::string(2 << 20, 'x'), ":1: the line does not end"},
    };
    for (const auto& [content, message] : faults) {
        const TemporaryFile file(content);
        try {
            const BarFile bars(file.Path());
            ADD_FAILURE() << "was read, without " << message;
        } catch (const Failure& failure) {
            const std::string what = failure.what();
            EXPECT_NE(what.find(message), std::string::npos) << what;
            EXPECT_TRUE(what.starts_with(file.Path().string())) << what;
            EXPECT_LT(what.size(), 300u);
        }
    }
    EXPECT_THROW(BarFile("no/such/file.csv"), Failure);
    EXPECT_THROW(BarFile{std::filesystem::temp_directory_path()}, Failure);
}

TEST(BarFile, ReadsManyWordsForAGap) {
    const TemporaryFile file(
        "date,a,b\n2020-01-01,-nan,NULL\n2020-01-02, N/A ,-\n2020-01-03,\" \",1\n2020-01-04,NaN,none\n");
    std::vector<std::string> told;
    ReadSettings settings;
    settings.tell = [&](const std::string& notice) { told.push_back(notice.substr(notice.find(": ") + 2)); };
    const BarFile bars(file.Path(), settings);
    for (std::size_t bar = 0; bar < 4; ++bar) {
        EXPECT_EQ(bars.Value(0, bar), UndefinedValue) << bar;
        EXPECT_EQ(bars.Value(1, bar), bar == 2 ? 1.0 : UndefinedValue) << bar;
    }
    EXPECT_EQ(told, (std::vector<std::string>{"cells without a number, which are gaps: 7 (a 4, b 3)"}));
}

struct OrderCase {
    std::string rows;
    std::string bars;
    std::vector<std::string> told;
    bool sort = false;
    bool leaveOutBad = false;
};

const std::string OneTick = "1 line has the time of a bar before and is taken as a tick of it";
const std::string Turned = "the newest line stands first: read from the last line to the first";

const OrderCase orders[] = {
    {"2020-01-01,1 2020-01-02,2 2020-01-02,3", "2020-01-01=1 2020-01-02=3", {OneTick}},
    {"2020-01-01,1 2020-01-02,2 2020-01-1,3", "2020-01-01=3 2020-01-02=2", {OneTick}},
    {"2020-01-03,3 2020-1-2,2 20200101,1", "20200101=1 2020-1-2=2 2020-01-03=3", {Turned}},
    {"2020-01-02,2 2020-01-02,3 2020-01-01,1", "2020-01-01=1 2020-01-02=2", {Turned, OneTick}},
    {"2020-01-03,3 2020-01-01,1 2020-01-02,2 2020-01-03,4", "2020-01-01=1 2020-01-02=2 2020-01-03=4", {OneTick}, true},
    {"2020-01-01,1 soon,2 2020-01-03,3",
     "2020-01-01=1 2020-01-03=3",
     {"3:1: \"soon\" is no time; left out"},
     false,
     true},
    {"2020-01-01,1 2020-01-02,x 2020-02-30,2 2020-01-03,3",
     "2020-01-01=1 2020-01-03=3",
     {"3:2: \"x\" is no number (close); left out", "4:1: \"2020-02-30\" is no time; left out"},
     false,
     true},
    {"01/12/2019,1 13/12/2019,2 01/01/2020,3", "01/12/2019=1 13/12/2019=2 01/01/2020=3", {}},
    {"01/02/2020,1 01/03/2020,2",
     "01/02/2020=1 01/03/2020=2",
     {"dates such as \"01/02/2020\" are read as month, day, year: no line tells which comes first"}},
    {"2020-01-01T10:30+01:00,1 2020-01-01T10:00Z,2 2020-01-01T08:00-02:00,3",
     "2020-01-01T10:30+01:00=1 2020-01-01T10:00Z=3",
     {OneTick}},
    {"b,1 a,2 b,3", "b=3 a=2", {"\"b\" is no time, so that bars stay in the order in which they come", OneTick}},
};

TEST(BarFile, HasEachTimeOnceFromTheOldestToTheNewest) {
    for (const OrderCase& order : orders) {
        std::string rows = order.rows;
        std::ranges::replace(rows, ' ', '\n');
        const TemporaryFile file("date,close\n" + rows + "\n");
        std::vector<std::string> told;
        ReadSettings settings;
        settings.sort = order.sort;
        settings.leaveOutBad = order.leaveOutBad;
        const std::size_t name = file.Path().string().size();
        settings.tell = [&](const std::string& notice) {
            told.push_back(notice.substr(notice[name + 1] == ' ' ? name + 2 : name + 1));
        };
        const BarFile bars(file.Path(), settings);
        std::string text;
        for (std::size_t bar = 0; bar < bars.BarCount(); ++bar)
            text += fmt::format("{}{}={}", bar == 0 ? "" : " ", bars.Date(bar), bars.Value(0, bar));
        EXPECT_EQ(text, order.bars) << order.rows;
        EXPECT_EQ(told, order.told) << order.rows;
    }
}

}  // namespace
}  // namespace sarvane::study
