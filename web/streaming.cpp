// What JavaScript calls once a bar, with numbers only: nothing is allocated on either side.

#include "sarvane/study.h"

#include <cmath>
#include <limits>

namespace {

// `row` holds a value for each column, and room for one of each result behind them. A NaN stands for a missing value.
// Answers the first result. A failure is a trap, so that it can't be taken for a number.
double Step(SarvaneStudy* study, double* row, std::size_t columns, std::size_t results) {
    for (std::size_t i = 0; i < columns; ++i) {
        if (std::isnan(row[i])) row[i] = SARVANE_UNDEFINED;
    }
    double* const out = row + columns;
    if (SarvaneStep(study, 0, row, out) != SARVANE_OK) __builtin_trap();
    for (std::size_t i = 0; i < results; ++i) {
        if (out[i] == SARVANE_UNDEFINED) out[i] = std::numeric_limits<double>::quiet_NaN();
    }
    return out[0];
}

}  // namespace

extern "C" {

__attribute__((export_name("Step"))) double StepRow(SarvaneStudy* study, double* row, std::size_t columns,
                                                    std::size_t results) {
    return Step(study, row, columns, results);
}
// One column and one result, as an argument and an answer.
__attribute__((export_name("StepValue"))) double StepValue(SarvaneStudy* study, double* row, double value) {
    row[0] = value;
    return Step(study, row, 1, 1);
}
// Open, high, low, close and perhaps volume.
__attribute__((export_name("StepBar"))) double StepBar(SarvaneStudy* study, double* row, std::size_t columns,
                                                       std::size_t results, double open, double high, double low,
                                                       double close, double volume) {
    row[0] = open, row[1] = high, row[2] = low, row[3] = close;
    if (columns > 4) row[4] = volume;
    return Step(study, row, columns, results);
}
// The interface's times have 64 bits, which JavaScript's numbers don't.
__attribute__((export_name("AppendBar"))) SarvaneStatus AppendBar(SarvaneSeries* series, double time,
                                                                  const double* row) {
    return SarvaneAppendBar(series, static_cast<std::int64_t>(time), row);
}
}
