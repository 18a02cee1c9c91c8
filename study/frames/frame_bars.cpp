#include "frames/frame_bars.h"

#include "language/parser.h"

#include <algorithm>
#include <limits>

namespace sarvane::study {
namespace {

constexpr std::int64_t Second = 1000000000;  // in nanoseconds

// The second that a time lies in. A double holds it exactly, so that no time is rounded into the next stretch.
std::int64_t SecondOf(std::int64_t time) { return time / Second - (time % Second < 0 ? 1 : 0); }

}  // namespace

Outcome<FrameBars> FrameBars::Over(std::shared_ptr<const Frame> frame, const std::vector<std::string>& columns,
                                   const FrameBarsSettings& settings) {
    FrameColumns at = FrameColumns::Among(columns);
    at.time = columns.size();  // behind the row's own values
    const char* missing = nullptr;
    at.ReadBy(frame->Kind(), missing);
    if (missing) {
        return Problem{.message = "bars of " + frame->Text() + " need a column \"" + missing + "\""};
    }
    if (settings.fills && !(frame->Kind() == FrameKind::Time && frame->IsBelowDay())) {
        return Problem{.message =
                           "only frames of time that are shorter than a day can be filled, not " + frame->Text()};
    }
    std::vector<FrameBar::Column> read;
    std::vector<ColumnRule> rules;
    for (std::size_t column = 0; column < columns.size(); ++column) {
        rules.push_back(RuleOf(columns[column]));
        read.push_back({rules.back() == ColumnRule::Start ? at.time : column, column, rules.back()});
    }
    return FrameBars(frame, FrameBar(frame, at, std::move(read)), std::move(rules), at.close, settings);
}

FrameBars::FrameBars(std::shared_ptr<const Frame> made, FrameBar taker, std::vector<ColumnRule> byColumn,
                     std::size_t closes, const FrameBarsSettings& how)
    : frame(std::move(made)), bars(std::move(taker)), settings(how), width(byColumn.size()), rules(std::move(byColumn)),
      closeColumn(closes), present(width + 1, UndefinedValue), forming(width, UndefinedValue), closed(width),
      lastTime(std::numeric_limits<std::int64_t>::min()) {}

HRESULT FrameBars::Take(std::int64_t time, const double* row, BarRange& changed) {
    const bool isAgain = settings.source == FrameSource::Bars && time == lastTime && rowCount > 0;
    const bool isLate = time < lastTime;
    if (!settings.isOpen && (isLate || isAgain)) return E_INVALIDARG;
    if (isLate) return TakeLate(time, row, changed);
    changed.first = isAgain ? countBefore - stateBefore.hasBar : times.size() - state.hasBar;
    const std::size_t count = times.size();
    HRESULT status = S_OK;
    if (isAgain) {
        status = TakeAgain(row);
    } else if (settings.isOpen) {
        rowTimes.push_back(time);
        rows.insert(rows.end(), row, row + width);
        status = AppendKept(rowTimes.size() - 1);
        if (FAILED(status)) {
            state = stateBefore;
            rowTimes.pop_back();
            rows.resize(rows.size() - width);
        }
        if (times.size() > count) changed.first = count;  // the bar before has closed as it was
    } else {
        status = Append(time, row);
        if (times.size() > count) changed.first = count;
    }
    changed.end = times.size();
    return status;
}

// The last row comes once more.
HRESULT FrameBars::TakeAgain(const double* row) {
    const auto last = static_cast<std::ptrdiff_t>(rows.size() - width);
    const std::vector<double> old(rows.begin() + last, rows.end());
    const auto take = [&](const double* values) {
        std::copy_n(values, width, rows.begin() + last);
        state = stateBefore;
        forming = formingBefore;
        Truncate(countBefore, closedBefore);
        rowCount = rowTimes.size() - 1;
        return AppendKept(rowTimes.size() - 1);
    };
    const HRESULT status = take(row);
    if (FAILED(status)) take(old.data());
    return status;
}

HRESULT FrameBars::TakeLate(std::int64_t time, const double* row, BarRange& changed) {
    const bool areBars = settings.source == FrameSource::Bars;
    const auto next = areBars ? std::ranges::lower_bound(rowTimes, time) : std::ranges::upper_bound(rowTimes, time);
    const auto place = static_cast<std::size_t>(next - rowTimes.begin());
    const auto values = rows.begin() + static_cast<std::ptrdiff_t>(place * width);
    const auto valuesEnd = values + static_cast<std::ptrdiff_t>(width);
    const bool isNew = !areBars || *next != time;
    std::vector<double> old;
    if (isNew) {
        rows.insert(values, row, row + width);
        rowTimes.insert(next, time);
    } else {
        old.assign(values, valuesEnd);
        std::copy_n(row, width, values);
    }
    if (RebuildOne(place, isNew, changed)) return S_OK;
    const HRESULT status = Rebuild(place, changed);
    if (SUCCEEDED(status)) return status;
    const auto again = rows.begin() + static_cast<std::ptrdiff_t>(place * width);
    if (isNew) {
        rows.erase(again, again + static_cast<std::ptrdiff_t>(width));
        rowTimes.erase(rowTimes.begin() + static_cast<std::ptrdiff_t>(place));
    } else {
        std::ranges::copy(old, again);
    }
    Rebuild(place, changed);
    return status;
}

// Takes a row that is kept, and keeps what was ahead of it.
HRESULT FrameBars::AppendKept(std::size_t row) {
    stateBefore = state;
    formingBefore = forming;
    countBefore = times.size();
    closedBefore = closedCount;
    return Append(rowTimes[row], rows.data() + row * width);
}

void FrameBars::SetPresent(std::int64_t time, const double* values) {
    std::copy_n(values, width, present.begin());
    present[width] = static_cast<double>(SecondOf(time));
}

HRESULT FrameBars::Append(std::int64_t time, const double* values) {
    SetPresent(time, values);
    const double end = state.end;
    const HRESULT status = bars.Take(state, present.data(), forming.data(), [&] {
        if (times.size() == closedCount) Begin(time);  // a brick behind another one
        Close();
        return S_OK;
    });
    if (FAILED(status)) return status;
    if (state.hasBar && times.size() == closedCount) {
        if (settings.fills && closedCount > 0) Fill(end, state.begin);
        Begin(time);
    }
    lastTime = time;
    ++rowCount;
    return S_OK;
}

void FrameBars::Begin(std::int64_t time) {
    if (frame->Kind() == FrameKind::Time) {
        times.push_back(static_cast<std::int64_t>(state.begin) * Second);
    } else {
        times.push_back(times.empty() ? time : std::max(time, times.back() + 1));
    }
    firstRows.push_back(rowCount);
}

void FrameBars::Close() {
    for (std::size_t column = 0; column < width; ++column) closed[column].push_back(forming[column]);
    ++closedCount;
}

// Bars for the stretches of the session between the end of one bar and the begin of the next.
void FrameBars::Fill(double end, double begin) {
    const auto next = static_cast<std::int64_t>(begin), last = static_cast<std::int64_t>(end) - 1;
    const Stretch before = frame->SessionAround(last), behind = frame->SessionAround(next);
    const auto isIn = [](const Stretch& session, std::int64_t time) {
        return time >= session.begin && time < session.end;
    };
    const bool isOneDay = before.begin == behind.begin;
    if (!isOneDay && !frame->HasSessionEnd()) return;
    std::int64_t time = last + 1;
    while (time < next) {
        if (!isIn(before, time) && !isIn(behind, time)) {
            if (time >= behind.begin) break;
            time = std::max(time + 1, behind.begin);
            continue;
        }
        const Stretch stretch = frame->Around(time);
        times.push_back(stretch.begin * Second);
        firstRows.push_back(rowCount);
        const double close = closeColumn == FrameColumns::None ? UndefinedValue : closed[closeColumn].back();
        for (std::size_t column = 0; column < width; ++column) {
            std::vector<double>& values = closed[column];
            switch (rules[column]) {
            case ColumnRule::Last: values.push_back(values.back()); break;
            case ColumnRule::Sum: values.push_back(0.0); break;
            case ColumnRule::Start: values.push_back(static_cast<double>(stretch.begin)); break;
            default: values.push_back(close);
            }
        }
        ++closedCount;
        time = stretch.end;
    }
}

void FrameBars::Truncate(std::size_t count, std::size_t closedBars) {
    times.resize(count);
    firstRows.resize(count);
    closedCount = closedBars;
    for (std::vector<double>& column : closed) column.resize(closedBars);
}

// Makes the closed bar of a stretch of time anew that the row at `place` belongs to, if there is one: no other bar depends
// on it.
bool FrameBars::RebuildOne(std::size_t place, bool isNew, BarRange& changed) {
    if (frame->Kind() != FrameKind::Time || settings.fills) return false;
    const auto bar = static_cast<std::size_t>(std::ranges::upper_bound(times, rowTimes[place]) - times.begin()) - 1;
    if (bar >= closedCount || SecondOf(rowTimes[place]) >= frame->Around(times[bar] / Second).end) return false;
    for (std::size_t later = bar + 1; isNew && later < times.size(); ++later) ++firstRows[later];
    FrameBar::State fresh;
    std::vector<double> values(width, UndefinedValue);
    for (std::size_t row = firstRows[bar]; row < firstRows[bar + 1]; ++row) {
        SetPresent(rowTimes[row], rows.data() + row * width);
        bars.Take(fresh, present.data(), values.data(), [] { return S_OK; });
    }
    for (std::size_t column = 0; column < width; ++column) closed[column][bar] = values[column];
    rowCount = rowTimes.size();
    if (bar == closedBefore) {  // it was forming ahead of the last row, which may come again
        stateBefore = fresh;
        formingBefore = values;
    }
    changed = {bar, bar + 1};
    return true;
}

// Makes the bars anew from the one on that the row at `place` belongs to. Those that go by what is in them alone begin
// afresh there; Renko and Heikin-Ashi go on from all bars before.
HRESULT FrameBars::Rebuild(std::size_t place, BarRange& changed) {
    std::size_t row = 0, first = 0;
    const bool isFree = frame->Kind() != FrameKind::Renko && frame->Kind() != FrameKind::HeikinAshi;
    if (isFree && !times.empty()) {
        first = static_cast<std::size_t>(std::ranges::upper_bound(firstRows, place) - firstRows.begin());
        first -= first > 0;
        while (first > 0 && firstRows[first - 1] == firstRows[first]) --first;  // bars that fill a gap
        first -= first > 0;
        row = firstRows[first];
    }
    state = {};
    Truncate(first, first);
    rowCount = row;
    HRESULT status = S_OK;
    for (; row < rowTimes.size() && SUCCEEDED(status); ++row) status = AppendKept(row);
    changed = {first, times.size()};
    return status;
}

}  // namespace sarvane::study
