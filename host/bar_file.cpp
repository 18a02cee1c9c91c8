#include "bar_file.h"

#include "failure.h"
#include "path.h"
#include "progress.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace sarvane::study {
namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

// Hands the rows of a text that has come to the collector. A header that can't be read leaves nothing to go on with.
void TakeRows(RowReader& reader, RowCollector& rows) {
    while (true) {
        try {
            if (!reader.Next()) return;
            rows.Take(reader.Row(), reader.Line());
        } catch (const Failure& failure) {
            if (!reader.HasHeader()) throw;
            rows.Refuse(failure.what(), reader.Line());
        }
    }
}

BarFile ReadBars(const std::filesystem::path& path, const ReadSettings& settings) {
    RowReader reader(TextOf(path));
    const std::string& name = reader.Header().name;
    const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(TextOf(path).c_str(), "rb"));
    if (!file) Fail("{}: {}", name, std::strerror(errno));
    std::error_code unknown;
    const auto size = std::filesystem::file_size(path, unknown);
    Progress progress("reading " + name, unknown ? 0.0 : static_cast<double>(size));

    RowCollector rows(name, settings);
    std::vector<char> chunk(1 << 16);
    double done = 0.0;
    while (const std::size_t length = std::fread(chunk.data(), 1, chunk.size(), file.get())) {
        reader.Add({chunk.data(), length});
        TakeRows(reader, rows);
        progress.Update(done += static_cast<double>(length));
    }
    if (std::ferror(file.get())) Fail("{}: {}", name, std::strerror(errno));
    reader.End();
    TakeRows(reader, rows);
    if (!reader.HasHeader()) Fail("{}: the file is empty", name);
    progress.Hide();
    rows.Finish();
    for (const std::string& notice : rows.Notices()) settings.tell(notice);
    if (const std::string notice = rows.GapNotice(reader.Header()); !notice.empty()) settings.tell(notice);
    return BarFile(reader.Header(), std::move(rows));
}

}  // namespace

BarFile::BarFile(const std::filesystem::path& path, const ReadSettings& settings) : BarFile(ReadBars(path, settings)) {}

BarFile::BarFile(BarHeader first, TimeReader dates) : header(std::move(first)), reader(std::move(dates)) {
    columns.values.resize(header.titles.size());
}

BarFile::BarFile(BarHeader first, RowCollector rows) : BarFile(std::move(first), rows.Times()) {
    if (rows.RowCount() == 0) return;
    if (rows.IsSeries()) {
        columns = rows.TakeColumns();
        times = rows.TakeTimes();
        return;
    }
    for (std::size_t i = 0; i < rows.RowCount(); ++i) {
        const BarRow row = rows.Row(i);
        const std::size_t bar = BarOf(row.date);
        bar == BarCount() ? Append(row) : Replace(bar, row.values);
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
    const BarTime time = reader.Read(date);
    if (times.empty() || times.back() < time) return BarCount();
    const auto found = std::ranges::lower_bound(times, time);
    if (*found != time)
        Fail("{} lies before the last bar, {}, and is none of the bars so far", date, Date(BarCount() - 1));
    return static_cast<std::size_t>(found - times.begin());
}

void BarFile::Append(const BarRow& row) {
    times.push_back(reader.Read(row.date));
    columns.Append(row);
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
    return true;
}

}  // namespace sarvane::study
