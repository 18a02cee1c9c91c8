#include "bars/bar_time.h"

#include "failure.h"

#include <gtest/gtest.h>

namespace sarvane::study {
namespace {

// The ISO form of what was read, or the text itself in brackets.
std::string Read(std::string_view text, DateOrder order = DateOrder::Unknown) {
    const auto time = ParseTime(text, order);
    return time ? time->IsoText() : "(" + std::string(text) + ")";
}

TEST(BarTime, ReadsOneDayInManyForms) {
    for (const std::string text :
         {"2020-01-03", "2020-1-3", "2020/01/03", "2020.01.03", "20200103", "01/03/2020", "1-3-2020", "3.1.2020",
          "03-Jan-2020", "3 january 2020", "Jan 3, 2020", " 2020-01-03\t"})
        EXPECT_EQ(Read(text), "2020-01-03") << text;
    EXPECT_EQ(Read("01/03/2020", DateOrder::DayFirst), "2020-03-01");
    EXPECT_EQ(Read("13/01/2020"), "2020-01-13");
    EXPECT_EQ(Read("2020-02-29"), "2020-02-29");
}

TEST(BarTime, ReadsTimesOfDayAndZones) {
    const std::pair<std::string, std::string> times[] = {
        {"2020-01-03T09:30", "2020-01-03 09:30:00"},
        {"2020-01-03 9:30:01", "2020-01-03 09:30:01"},
        {"20200103  093001.5", "2020-01-03 09:30:01.500000000"},
        {"20200103T0930", "2020-01-03 09:30:00"},
        {"1/3/2020 12:30 am", "2020-01-03 00:30:00"},
        {"1/3/2020 12:30PM", "2020-01-03 12:30:00"},
        {"2020-01-03t23:59:59,123456789Z", "2020-01-03 23:59:59.123456789+00:00"},
        {"2020-01-03 09:30 -0330", "2020-01-03 09:30:00-03:30"},
        {"2020-01-03T09:30:00+01", "2020-01-03 09:30:00+01:00"},
    };
    for (const auto& [text, time] : times) EXPECT_EQ(Read(text), time) << text;
    // The clock goes back an hour: what repeats on the wall is later all the same.
    EXPECT_LT(ParseTime("2020-10-25T02:30+02:00")->Time(), ParseTime("2020-10-25T02:10+01:00")->Time());
    EXPECT_EQ(ParseTime("2020-01-01T00:30+01:00")->Time(), ParseTime("2019-12-31 23:30")->Time());
    EXPECT_LT(ParseTime("2020-01-01T00:00:00.000000001")->Time(), ParseTime("2020-01-01T00:00:00.000000002")->Time());
}

TEST(BarTime, RefusesWhatTheCalendarDoesNotHave) {
    for (const std::string text : {"",
                                   "x",
                                   "1",
                                   "2020",
                                   "2020-13-01",
                                   "2020-02-30",
                                   "20210229",
                                   "13/13/2020",
                                   "2020-01-03x",
                                   "2020-01-03T",
                                   "2020-01-03 24:00",
                                   "2020-01-03 09:60",
                                   "2020-01-03 9",
                                   "2020-01-03 13:00 PM",
                                   "2020-01-03 09:30 EST",
                                   "2020-01-03 09:30+24:00",
                                   "2020-01/03",
                                   "3 Janu 2020",
                                   "99999999999999999999-01-01",
                                   "2020-01-03 09:30:00.",
                                   "2020-01-03 09:30:00.1234567890"})
        EXPECT_EQ(Read(text), "(" + text + ")");
    EXPECT_FALSE(ParseTime("13/01/2020", DateOrder::MonthFirst));
}

TEST(TimeReader, TakesTheOtherOrderOnceALineTellsIt) {
    TimeReader reader;
    reader.Read("01/02/2020");
    EXPECT_EQ(reader.TakeNotices().size(), 1u);
    EXPECT_FALSE(reader.WasMisled("02/02/2020"));
    EXPECT_TRUE(reader.WasMisled("13/02/2020"));
    EXPECT_THROW(reader.Read("13/02/2020"), Failure);
    reader = reader.Corrected("13/02/2020");
    EXPECT_LT(reader.Read("12/02/2020"), reader.Read("13/02/2020"));
    EXPECT_FALSE(reader.WasMisled("02/13/2020")) << "that is a fault of the line";
    EXPECT_EQ(reader.TakeNotices().size(), 1u);
}

}  // namespace
}  // namespace sarvane::study
