#include "stored_series.h"

#include "fault.h"

#include <algorithm>
#include <cinttypes>
#include <numeric>

using namespace sarvane::sql;

struct StoredSeries {
    SarvaneSeries* bars = nullptr;
    std::size_t columnCount = 0;
    std::vector<std::int64_t> times;  // of the rows that were added
    std::vector<double> rows;         // row behind row

    ~StoredSeries() { SarvaneFreeSeries(bars); }
};

namespace {

bool IsDone(SarvaneStatus status, SqlFault* fault) {
    if (status != SARVANE_OK) SetFault(fault, status);
    return status == SARVANE_OK;
}

SarvaneSeriesInfo InfoOf(const StoredSeries& series) {
    SarvaneSeriesInfo info = {};
    SarvaneGetSeriesInfo(series.bars, &info);
    return info;
}

// Puts the rows in the order of their times.
bool Sort(StoredSeries& series, SqlFault* fault) {
    const std::size_t columns = series.columnCount;
    std::vector<std::size_t> order(series.times.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::sort(order, {}, [&](std::size_t row) { return series.times[row]; });
    std::vector<std::int64_t> times;
    std::vector<double> rows;
    rows.reserve(series.rows.size());
    for (const std::size_t row : order) {
        const std::int64_t time = series.times[row];
        if (!times.empty() && times.back() == time) {
            SetFaultMessage(fault, "two rows have the time %" PRId64, time);
            return false;
        }
        times.push_back(time);
        rows.insert(rows.end(), &series.rows[row * columns], &series.rows[row * columns] + columns);
    }
    series.times = std::move(times);
    series.rows = std::move(rows);
    return true;
}

// Rows up to the last bar so far are ticks and corrections; those behind it are appended, all at once.
bool Apply(StoredSeries& series, SqlFault* fault) {
    const std::size_t count = InfoOf(series).barCount;
    std::int64_t last = 0;
    if (count > 0) SarvaneGetTime(series.bars, count - 1, &last);
    std::size_t row = 0;
    for (; row < series.times.size() && count > 0 && series.times[row] <= last; ++row) {
        const std::size_t bar = SarvaneFindBar(series.bars, series.times[row]);
        if (bar == count) {
            SetFaultMessage(fault,
                            "there is no bar of the time %" PRId64 " to correct, and one of %" PRId64 " behind it",
                            series.times[row], last);
            return false;
        }
        if (!IsDone(SarvaneCorrectBar(series.bars, bar, &series.rows[row * series.columnCount]), fault)) return false;
    }
    const std::size_t added = series.times.size() - row;
    return added == 0 || IsDone(SarvaneRewriteBars(series.bars, count, added, &series.times[row],
                                                   &series.rows[row * series.columnCount]),
                                fault);
}

}  // namespace

extern "C" {

StoredSeries* StartStoredSeries(const SarvaneLibrary* library, SqlText expression, SqlText columns, size_t valueCount,
                                const SqlLimits* limits, SqlFault* fault) {
    return Answer(fault, [&]() -> StoredSeries* {
        const StudyHandle study(CompileStudy(library, expression, columns, valueCount, limits, fault));
        if (!study) return nullptr;
        auto series = std::make_unique<StoredSeries>();
        series->columnCount = valueCount;
        return IsDone(SarvaneCreateSeries(study.get(), nullptr, &series->bars), fault) ? series.release() : nullptr;
    });
}

StoredSeries* ReadStoredSeries(const SarvaneLibrary* library, const void* bytes, size_t size, const SqlLimits* limits,
                               SqlFault* fault) {
    return Answer(fault, [&]() -> StoredSeries* {
        auto series = std::make_unique<StoredSeries>();
        SarvaneProblem* problem = nullptr;
        const SarvaneStatus status = SarvaneReadSeries(library, bytes, size, &series->bars, &problem);
        if (status != SARVANE_OK) {
            SetProblem(fault, status, problem);
            return nullptr;
        }
        const SarvaneStudy* const study = SarvaneGetSeriesStudy(series->bars);
        SarvaneStudyInfo info = {};
        SarvaneGetStudyInfo(study, &info);
        if (SarvaneResultCount(study) != 1 || info.columnCount == 0) {
            SetFaultMessage(fault,
                            "the stored series has %zu results from %zu columns, which study_state() never writes",
                            SarvaneResultCount(study), info.columnCount);
            return nullptr;
        }
        series->columnCount = info.columnCount;
        return IsWithin(study, *limits, fault) ? series.release() : nullptr;
    });
}

void FreeStoredSeries(StoredSeries* series) { delete series; }

int AddRow(StoredSeries* series, int64_t time, size_t valueCount, const double* row, SqlFault* fault) {
    return Answer(fault, [&] {
        if (valueCount != series->columnCount) {
            SetFaultMessage(fault, "a row has %zu values, and the series has %zu columns", valueCount,
                            series->columnCount);
            return false;
        }
        series->rows.insert(series->rows.end(), row, row + valueCount);
        series->times.push_back(time);
        return true;
    });
}

int FinishStoredSeries(StoredSeries* series, void** bytes, size_t* size, SqlFault* fault) {
    return Answer(fault, [&] {
        return Sort(*series, fault) && Apply(*series, fault) &&
               IsDone(SarvaneWriteSeries(series->bars, bytes, size), fault);
    });
}

double LastValue(const StoredSeries* series) {
    double value = SARVANE_UNDEFINED;
    const std::size_t count = InfoOf(*series).barCount;
    if (count > 0) SarvaneReadResults(series->bars, count - 1, 1, &value);
    return value;
}
}
