#include "row_collector.h"

#include "bar_order.h"
#include "failure.h"

#include <algorithm>
#include <utility>

namespace sarvane::study {

RowCollector::RowCollector(std::string file, ReadSettings how) : name(std::move(file)), settings(std::move(how)) {}

void RowCollector::Take(const BarRow& row, std::size_t line) {
    columns.Append(row);
    lines.push_back(line);
    reader.Note(row.date);
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
    BarColumns all = std::exchange(columns, {});
    std::vector<std::size_t> allLines = std::exchange(lines, {});
    times.reserve(all.Count());
    std::vector<std::size_t> bad;
    for (std::size_t row = 0; row < all.Count(); ++row) {
        try {
            times.push_back(reader.Read(all.Date(row)));
        } catch (const Failure& failure) {
            faults.push_back({allLines[row], fmt::format("{}:{}:1: {}", name, allLines[row], failure.what())});
            bad.push_back(row);
        }
    }
    if (bad.empty()) {
        columns = std::move(all);
        lines = std::move(allLines);
        return;
    }
    for (std::size_t row = 0, next = 0; row < all.Count(); ++row) {
        if (next < bad.size() && row == bad[next]) {
            ++next;
        } else {
            columns.Append(all.Row(row));
            lines.push_back(allLines[row]);
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

void RowCollector::Arrange() {
    RowOrder found = OrderOf(times, settings.sort);
    for (const auto& [row, than] : found.late) {
        const std::string fault = fmt::format("{}: times go neither up nor down: {} here, {} in line {}", PlaceOf(row),
                                              columns.Date(row), columns.Date(than), lines[than]);
        if (!settings.leaveOutLate) Fail("{}; --sort puts them in order", fault);
        settings.tell(fault + "; left out");
        ++leftOut;
    }
    for (const std::string& notice : reader.TakeNotices()) Note(notice);
    if (found.newestFirst) Note("the newest line stands first: read from the last line to the first");
    if (found.repeats == 1) Note("1 line has the time of a bar before and is taken as a tick of it");
    if (found.repeats > 1)
        Note(fmt::format("{} lines have the time of a bar before and are taken as ticks of it", found.repeats));
    isSeries = found.isOrderOfFile && found.repeats == 0;
    order = std::move(found.rows);
}

std::string RowCollector::PlaceOf(std::size_t row) const { return fmt::format("{}:{}:1", name, lines[row]); }

void RowCollector::Note(const std::string& notice) { notices.push_back(fmt::format("{}: {}", name, notice)); }

std::string RowCollector::GapNotice(const BarHeader& header) const {
    const std::string text = gaps.Text(header.titles);
    return text.empty() ? text : fmt::format("{}: cells without a number, which are gaps: {}", name, text);
}

}  // namespace sarvane::study
