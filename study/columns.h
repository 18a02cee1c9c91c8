#pragma once

#include "compilation.h"

#include <cstddef>
#include <span>

namespace sarvane::study {

// Numbers that stand `stride` doubles apart, perhaps backwards.
struct InputColumn {
    const double* first = nullptr;
    std::ptrdiff_t stride = 1;
};
struct OutputColumn {
    double* first = nullptr;
    std::ptrdiff_t stride = 1;
};

struct ColumnSettings {
    bool holdsInputs = false;              // bar arithmetic repeats a missing input
    std::optional<double> priceStep = {};  // for operators that round to it
    bool nanIsGap = false;                 // a NaN comes in as a gap, and a gap goes out as a NaN
};

// Whole columns that expressions run over, and where the results go.
struct ColumnRun {
    std::span<const InputColumn> inputs;    // one for each column of the data; null for one that no expression reads
    std::size_t count = 0;                  // bars
    std::span<const OutputColumn> outputs;  // one for each result; null for one that isn't wanted
};

// Runs over all bars from a reset on: the same results as bar by bar. An output may be the same memory as an input,
// element by element. E_INVALIDARG if columns are missing or there are more bars than an index counts; an operator's
// failure, after which the results of some bars are missing.
HRESULT Run(Compilation& compilation, const ColumnSettings& settings, const ColumnRun& run);

// Several runs, in up to `threads` threads; with 0 as many as the processor runs at once. Each thread has a copy of
// `model`. `statuses` tells how each run ended, or why it did not begin. The results don't depend on the threads.
void RunMany(const Compilation& model, const ColumnSettings& settings, std::span<const ColumnRun> runs,
             std::size_t threads, std::span<HRESULT> statuses);

}  // namespace sarvane::study
