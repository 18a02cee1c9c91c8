#include "bars/bar_maker.h"

#include "failure.h"

#include <fmt/chrono.h>

namespace sarvane::study {
namespace {

using namespace std::chrono;

FrameBars BarsOf(const BarHeader& header, const FrameSettings& settings, bool isOpen) {
    const FrameSource source = header.isTrades ? FrameSource::Trades : FrameSource::Bars;
    Outcome<FrameBars> bars = FrameBars::Over(settings.frame, header.titles, {source, settings.fills, isOpen});
    if (!bars) Fail("{}: {}", header.name, bars.Fault().message);
    return std::move(*bars);
}

std::int64_t NanosecondsOf(const BarTime& time) {
    constexpr std::int64_t Second = 1000000000;
    constexpr std::int64_t MostSeconds = 9000000000;  // until the year 2255
    const std::int64_t second = time.second.time_since_epoch().count();
    if (std::abs(second) > MostSeconds) Fail("a time that lies too far from 1970 for bars of a frame");
    return second * Second + time.fraction.count();
}

}  // namespace

void RefuseTrades(const BarHeader& header, const FrameSettings& to) {
    if (header.isTrades && !to.frame)
        Fail("{}: these are trades; --to 1min makes bars of them, and --to 1ticks a bar of each", header.name);
}

WantedColumns WantedWith(const FrameSettings& to, WantedColumns wanted) {
    if (!to.frame || !wanted) return wanted;
    return
        [to, wanted = std::move(wanted)](const std::vector<std::string>& titles, const std::vector<bool>& hasNumbers) {
            std::vector<bool> all = wanted(titles, hasNumbers);
            all.resize(titles.size(), false);
            const FrameColumns at = FrameColumns::Among(titles);
            const char* missing = nullptr;
            std::vector<std::size_t> read = at.ReadBy(to.frame->Kind(), missing);
            if (to.fills) read.push_back(at.close);
            for (const std::size_t column : read) {
                if (column != FrameColumns::None && column != at.time) all[column] = true;
            }
            return all;
        };
}

BarFile BarsIn(const FrameSettings& to, const BarHeader& header, RowCollector rows) {
    RefuseTrades(header, to);
    if (!to.frame) return BarFile(header, std::move(rows));
    BarMaker maker(header, to, false);
    if (rows.RowCount() > 0 && !rows.Times().HasTimes())
        Fail("{}: {} holds no times, of which bars of {} are made", header.name, Quoted(header.dateTitle),
             to.frame->Text());
    if (header.isTrades) {
        for (std::size_t i = 0; i < rows.RowCount(); ++i) maker.Take(rows.Row(i), rows.Time(i));
    } else {
        const BarFile bars(header, std::move(rows));
        maker.TakeAll(bars, bars.BarCount());
    }
    return maker.File();
}

BarMaker::BarMaker(const BarHeader& source, const FrameSettings& settings, bool isOpen)
    : header(source), frame(settings.frame), bars(BarsOf(source, settings, isOpen)) {
    header.isTrades = false;
}

BarRange BarMaker::Take(const BarRow& row, const BarTime& time) {
    constexpr std::int64_t DayLength = 86400000000000;  // nanoseconds
    BarRange changed;
    if (FAILED(bars.Take(NanosecondsOf(time), row.values.data(), changed)))
        Fail("the price of {} would make more than {} bars of {}", row.date, FrameBar::MostBricks, frame->Text());
    for (std::size_t bar = changed.first; bar < changed.end && !haveClocks; ++bar)
        haveClocks = bars.Time(bar) % DayLength != 0;
    return changed;
}

void BarMaker::TakeAll(const BarFile& file, std::size_t end) {
    const auto place = [](std::size_t bar) { return BarTime{std::chrono::sys_seconds(std::chrono::seconds(bar))}; };
    for (std::size_t bar = 0; bar < end; ++bar) Take(file.Row(bar), file.HasTimes() ? file.Time(bar) : place(bar));
}

BarRow BarMaker::Row(std::size_t bar) const {
    BarRow row{DateText(bars.Time(bar)), {}};
    for (std::size_t column = 0; column < header.titles.size(); ++column) row.values.push_back(bars.Value(column, bar));
    return row;
}

BarFile BarMaker::File() const {
    BarFile file(header);
    for (std::size_t bar = 0; bar < bars.Count(); ++bar) file.Append(Row(bar));
    return file;
}

// Bars of a day or longer have the date on which they begin, others the time, by the clocks of the frame's zone.
std::string BarMaker::DateText(std::int64_t time) const {
    const sys_time<nanoseconds> moment{nanoseconds(time)};
    const sys_seconds second = floor<seconds>(moment);
    const seconds offset = frame->Kind() == FrameKind::Time ? frame->Clocks().OffsetAt(second) : seconds(0);
    const sys_seconds clock = second + offset;
    const bool isDate = frame->Kind() == FrameKind::Time ? !frame->IsBelowDay() : !haveClocks;
    const year_month_day date(floor<days>(clock));
    std::string text = fmt::format("{:04}-{:02}-{:02}", int(date.year()), unsigned(date.month()), unsigned(date.day()));
    if (isDate) return text;
    const hh_mm_ss clockTime(clock - floor<days>(clock));
    text += fmt::format(" {:02}:{:02}:{:02}", clockTime.hours().count(), clockTime.minutes().count(),
                        clockTime.seconds().count());
    if (const auto fraction = (moment - second).count(); fraction > 0) {
        std::string digits = fmt::format("{:09}", fraction);
        digits.erase(digits.find_last_not_of('0') + 1);
        text += "." + digits;
    }
    if (frame->Kind() != FrameKind::Time || frame->IsInUtc()) return text;
    const auto minutesAhead = duration_cast<minutes>(offset).count();
    return text + fmt::format("{}{:02}:{:02}", minutesAhead < 0 ? '-' : '+', std::abs(minutesAhead) / 60,
                              std::abs(minutesAhead) % 60);
}

}  // namespace sarvane::study
