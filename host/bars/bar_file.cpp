#include "bars/bar_file.h"

#include "bars/bar_maker.h"
#include "bars/byte_source.h"
#include "bars/trade_filter.h"
#include "failure.h"
#include "progress.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace sarvane::study {
namespace {

// Hands the rows of a text that has come to the collector. A layout that can't be found leaves nothing to go on with. A
// remark at the end of the file is no fault: it is kept in `remark` until something follows it.
void TakeRows(RowReader& reader, RowCollector& rows, TradeFilter& filter, std::pair<std::size_t, std::string>& remark) {
    const auto refuseRemark = [&] {
        if (!remark.second.empty()) rows.Refuse(std::exchange(remark.second, {}), remark.first);
    };
    while (true) {
        try {
            if (!reader.Next()) return;
            refuseRemark();
            if (reader.Header().isTrades) rows.ExpectTrades();
            if (filter.IsNew(reader.Row())) rows.Take(reader.Row(), reader.Line());
        } catch (const Failure& failure) {
            if (!reader.HasHeader()) throw;
            refuseRemark();
            if (reader.IsRemark())
                remark = {reader.Line(), failure.what()};
            else
                rows.Refuse(failure.what(), reader.Line());
        }
    }
}

constexpr std::size_t ChunkSize = 1 << 18;

}  // namespace

FileReading ReadBarFile(const std::filesystem::path& path, const ReadSettings& settings) {
    ByteSource source(path);
    RowReader reader(source.Name(), settings.layout, WantedWith(settings.to, settings.wanted));
    Progress progress("reading " + source.Name(), source.Size());
    RowCollector rows(source.Name(), settings);
    std::vector<char> chunk(ChunkSize);
    bool isFirst = true;
    std::pair<std::size_t, std::string> remark;
    TradeFilter filter;
    while (const std::size_t length = source.Read(chunk)) {
        reader.Add({chunk.data(), length});
        TakeRows(reader, rows, filter, remark);
        if (std::exchange(isFirst, false) && reader.Line() > 0 && source.Size() > 0.0 && !source.IsCompressed())
            rows.Expect(static_cast<std::size_t>(source.Size() / static_cast<double>(length) * 1.02 *
                                                 static_cast<double>(reader.Line())) +
                        1);
        progress.Update(source.Position());
    }
    reader.End();
    TakeRows(reader, rows, filter, remark);
    if (!reader.HasHeader()) Fail("{}: the file is empty", source.Name());
    progress.Hide();
    rows.Finish();
    const auto tell = [&](const std::string& notice) { settings.tell(fmt::format("{}: {}", source.Name(), notice)); };
    if (const std::string text = reader.PresentLayout().Text(); !text.empty()) tell("read with " + text);
    for (const std::string& notice : rows.Notices()) settings.tell(notice);
    if (const std::string notice = rows.GapNotice(reader.Header()); !notice.empty()) settings.tell(notice);
    if (!remark.second.empty()) tell(fmt::format("line {} is left out: a remark at the end", remark.first));
    if (reader.TextCells() > 0) tell(fmt::format("gaps that are texts: {}", reader.TextCells()));
    if (const std::string notice = filter.Notice(); !notice.empty()) tell(notice);
    const Layout& layout = reader.PresentLayout();
    FrameSettings to = settings.to;
    if (reader.Header().isTrades && settings.showsTrades && !to.frame)
        to.frame = std::make_shared<const Frame>(*Frame::Read("1ticks"));
    return FileReading{layout,
                       layout.titlesAreLatin1 ? Encoding::Latin1 : reader.PresentEncoding(),
                       source.IsCompressed(),
                       rows.NewestFirst(),
                       rows.Repeats(),
                       rows.LeftOut(),
                       reader.Header().isTrades && !settings.to.frame,
                       BarsIn(to, reader.Header(), std::move(rows))};
}

std::vector<std::string> ReadColumns(const std::filesystem::path& path, const LayoutSettings& settings) {
    ByteSource source(path);
    std::vector<std::string> columns;
    RowReader reader(source.Name(), settings, [&](const std::vector<std::string>& titles, const std::vector<bool>&) {
        columns = titles;
        return std::vector<bool>(titles.size(), false);
    });
    std::vector<char> chunk(ChunkSize);
    while (!reader.HasHeader()) {
        const std::size_t length = source.Read(chunk);
        reader.Add({chunk.data(), length});
        if (length == 0) reader.End();
        try {
            reader.Next();
        } catch (const Failure&) {
            if (!reader.HasHeader()) throw;
        }
        if (length == 0 && !reader.HasHeader()) Fail("{}: the file is empty", source.Name());
    }
    return columns;
}

BarFile::BarFile(const std::filesystem::path& path, const ReadSettings& settings)
    : BarFile(std::move(ReadBarFile(path, settings).bars)) {}

BarFile::BarFile(BarHeader first, TimeReader dates) : header(std::move(first)), reader(std::move(dates)) {
    columns.values.resize(header.titles.size());
}

BarFile::BarFile(BarHeader first, RowCollector rows) : BarFile(std::move(first), rows.Times()) {
    if (rows.RowCount() == 0) return;
    if (rows.IsSeries()) {
        columns = rows.TakeColumns();
        times = rows.TakeTimes();
        WriteTimes();
        return;
    }
    for (std::size_t i = 0; i < rows.RowCount(); ++i) {
        const BarRow row = rows.Row(i);
        const std::size_t bar = BarOf(row.date);
        if (bar == BarCount()) {
            Append(row);
        } else {
            ticks.push_back({bar, Row(bar).values});
            Replace(bar, row.values);
        }
    }
}

std::string BarFile::IsoDate(std::size_t bar) const {
    const std::string_view date = Date(bar);
    const auto time = reader.HasTimes() && !HasIsoForm(date) ? reader.Parse(date) : std::nullopt;
    return time ? time->IsoText() : std::string(date);
}

std::size_t BarFile::BarOf(std::string_view date) {
    if (reader.WasMisled(date) && !ReadAnew(date))
        Fail("{} tells that the day comes first, but then the bars so far would not be in order", Quoted(date));
    FillTimes();
    const BarTime time = reader.Read(date);
    if (times.empty() || times.back() < time) return BarCount();
    const auto found = std::ranges::lower_bound(times, time);
    if (*found != time)
        Fail("{} lies before the last bar, {}, and is none of the bars so far", date, Date(BarCount() - 1));
    return static_cast<std::size_t>(found - times.begin());
}

BarTime BarFile::Time(std::size_t bar) const {
    if (times.size() == BarCount()) return times[bar];
    return reader.Parse(Date(bar)).value_or(ParsedTime{}).Time();  // each of them is a time
}

void BarFile::FillTimes() {
    if (times.size() == BarCount()) return;
    std::vector<BarTime> all;
    for (std::size_t bar = 0; bar < BarCount(); ++bar) all.push_back(Time(bar));
    times = std::move(all);
}

void BarFile::Append(const BarRow& row) {
    FillTimes();
    times.push_back(reader.Read(row.date));
    columns.Append(row);
    WriteTime(BarCount() - 1);
}

void BarFile::Replace(std::size_t bar, const std::vector<double>& row) {
    columns.Replace(bar, row);
    WriteTime(bar);
}

// Rows have no value in the column of times. A time in seconds is rounded down to a double, so that it stays in its second.
void BarFile::WriteTime(std::size_t bar) {
    if (!header.timeColumn) return;
    if (!reader.HasTimes())
        Fail("{}: {} holds no times, which the expressions need", header.name, Quoted(header.dateTitle));
    const BarTime time = Time(bar);
    const auto second = static_cast<double>(time.second.time_since_epoch().count());
    const double whole = second + static_cast<double>(time.fraction.count()) / 1e9;
    columns.values[*header.timeColumn][bar] = whole < second + 1.0 ? whole : std::nextafter(second + 1.0, second);
}

void BarFile::WriteTimes() {
    for (std::size_t bar = 0; header.timeColumn && bar < BarCount(); ++bar) WriteTime(bar);
}

// Day and month of all dates change places if the bars are still in order then.
bool BarFile::ReadAnew(std::string_view date) {
    TimeReader other = reader.Corrected(date);
    std::vector<BarTime> otherTimes;
    for (std::size_t bar = 0; bar < BarCount(); ++bar) otherTimes.push_back(other.Read(Date(bar)));
    if (!std::ranges::is_sorted(otherTimes, std::ranges::less_equal()))  // rising
        return false;
    reader = std::move(other);
    times = std::move(otherTimes);
    ++timeChanges;
    WriteTimes();
    return true;
}

}  // namespace sarvane::study
