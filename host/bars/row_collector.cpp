#include "bars/row_collector.h"

#include "bars/bar_order.h"
#include "failure.h"

#include <algorithm>
#include <utility>

namespace sarvane::study {

void RowCollector::LineNumbers::Append(std::size_t line) {
    if (starts.empty() || line != starts.back().second + (count - starts.back().first))
        starts.emplace_back(count, line);
    ++count;
}

std::size_t RowCollector::LineNumbers::Of(std::size_t row) const {
    const auto next = std::ranges::upper_bound(starts, row, {}, &std::pair<std::size_t, std::size_t>::first);
    return (next - 1)->second + (row - (next - 1)->first);
}

RowCollector::RowCollector(std::string file, ReadSettings how)
    : name(std::move(file)), settings(std::move(how)),
      reader(settings.layout.times ? settings.layout.times->order : DateOrder::Unknown) {}

void RowCollector::Expect(std::size_t rows) { columns.Expect(rows); }

void RowCollector::Take(const BarRow& row, std::size_t line) {
    columns.Append(row);
    lines.Append(line);
    const auto time = reader.Note(row.date);
    isRising = isRising && time && (columns.Count() == 1 || last < *time);
    last = time.value_or(last);
    gaps.Count(row.values);
}

void RowCollector::Refuse(const std::string& fault, std::size_t line) {
    faults.push_back({line, fault});
    if (!settings.leaveOutBad) Finish();
}

void RowCollector::Finish() {
    reader.Decide();
    ReadTimes();
    HandleFaults();
    Arrange();
}

// A row without a time goes.
void RowCollector::ReadTimes() {
    if (isRising) return;
    BarColumns all = std::exchange(columns, {});
    const LineNumbers allLines = std::exchange(lines, {});
    times.reserve(all.Count());
    std::vector<std::size_t> bad;
    for (std::size_t row = 0; row < all.Count(); ++row) {
        try {
            times.push_back(reader.Read(all.Date(row)));
        } catch (const Failure& failure) {
            faults.push_back({allLines.Of(row), fmt::format("{}:{}:1: {}", name, allLines.Of(row), failure.what())});
            bad.push_back(row);
        }
    }
    if (bad.empty()) {
        columns = std::move(all);
        lines = allLines;
        return;
    }
    for (std::size_t row = 0, next = 0; row < all.Count(); ++row) {
        if (next < bad.size() && row == bad[next]) {
            ++next;
        } else {
            columns.Append(all.Row(row));
            lines.Append(allLines.Of(row));
        }
    }
}

void RowCollector::HandleFaults() {
    std::ranges::sort(faults, {}, &Fault::line);
    for (const Fault& fault : faults) {
        if (!settings.leaveOutBad) throw Failure(fault.text);
        settings.tell(fault.text + "; left out");
    }
    leftOut += faults.size();
}

BarTime RowCollector::Time(std::size_t index) const {
    const std::size_t row = isSeries ? index : order[index];
    return times.empty() ? reader.Parse(columns.Date(row)).value_or(ParsedTime{}).Time() : times[row];
}

void RowCollector::ArrangeTrades() {
    if (!isRising) {
        order = OrderOfTrades(times, newestFirst);
        std::size_t late = 0;
        for (std::size_t i = 0; i < times.size(); ++i) late += i > 0 && !newestFirst && times[i] < times[i - 1];
        if (late > 0)
            Note(fmt::format("{} behind a later one: all are taken in the order of their times",
                             late == 1 ? "1 trade stands" : fmt::format("{} trades stand", late)));
    }
    isSeries = isRising;
    for (const std::string& notice : reader.TakeNotices()) Note(notice);
    if (newestFirst) Note("the newest line stands first: read from the last line to the first");
}

void RowCollector::Arrange() {
    if (areTrades) return ArrangeTrades();
    isSeries = isRising || std::ranges::is_sorted(times, std::ranges::less_equal());  // rising
    RowOrder found = isSeries ? RowOrder() : OrderOf(times, settings.sort);
    for (const auto& [row, than] : found.late) {
        const std::string fault = fmt::format("{}: times go neither up nor down: {} here, {} in line {}", PlaceOf(row),
                                              columns.Date(row), columns.Date(than), lines.Of(than));
        if (!settings.leaveOutLate) Fail("{}; --sort puts them in order", fault);
        settings.tell(fault + "; left out");
        ++leftOut;
    }
    for (const std::string& notice : reader.TakeNotices()) Note(notice);
    if (found.newestFirst) Note("the newest line stands first: read from the last line to the first");
    if (found.repeats == 1) Note("1 line has the time of a bar before and is taken as a tick of it");
    if (found.repeats > 1)
        Note(fmt::format("{} lines have the time of a bar before and are taken as ticks of it", found.repeats));
    newestFirst = found.newestFirst;
    repeats = found.repeats;
    order = std::move(found.rows);
}

std::string RowCollector::PlaceOf(std::size_t row) const { return fmt::format("{}:{}:1", name, lines.Of(row)); }

void RowCollector::Note(const std::string& notice) { notices.push_back(fmt::format("{}: {}", name, notice)); }

std::string RowCollector::GapNotice(const BarHeader& header) const {
    const std::string text = gaps.Text(header.titles);
    return text.empty() ? text : fmt::format("{}: cells without a number, which are gaps: {}", name, text);
}

}  // namespace sarvane::study
