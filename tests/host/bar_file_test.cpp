#include "bar_file.h"

#include "failure.h"
#include "sarvane/values.h"
#include "temporary_file.h"

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
        try {
            while (reader.Next()) seen.push_back(fmt::format("{} {}", reader.Row().date, reader.Row().values[0]));
        } catch (const Failure& failure) {
            seen.push_back(failure.what());
        }
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"a 1", "ticks:4:2: a quote that is not closed",
                                              "ticks:5:2: \"x\" is no number (close)",
                                              "ticks:6:3: a cell too many, the header names 2", "e 5", "f 6"}));
}

TEST(BarFile, NamesThePlaceOfAFault) {
    const std::pair<std::string, const char*> faults[] = {
        {"", ": the file is empty"},
        {"\n\n", ": the file is empty"},
        {"open,close\n", ":1:1: the first column is \"open\""},
        {"date,open,OPEN\n", ":1:3: a second column \"OPEN\""},
        {"date,,close\n", ":1:2: a column without a name"},
        {"date,close\na,1\nb,x1\n", ":3:2: \"x1\" is no number (close)"},
        {"date,close\na,1e999\n", ":2:2: \"1e999\" is no number"},
        {"date,close\na,nan\n", ":2:2: \"nan\" is no number"},
        {"date,close\na,1\n\n\nb,2\nc\n", ":6:1: the line ends here"},
        {"date,close\na,1,2\n", ":2:3: a cell too many"},
        {"date,close\na,\"1\n", ":2:2: a quote that is not closed"},
        {std::string("\x7F"
                     "ELF\0\1\2,\n\3",
                     10),
         ":1:1: the first column is"},
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

}  // namespace
}  // namespace sarvane::study
