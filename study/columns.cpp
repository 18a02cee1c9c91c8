#include "columns.h"

#include "platform/guarded_call.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <thread>

namespace sarvane::study {
namespace {

const double* At(const InputColumn& column, std::size_t bar) {
    return column.first + static_cast<std::ptrdiff_t>(bar) * column.stride;
}
double* At(const OutputColumn& column, std::size_t bar) {
    return column.first + static_cast<std::ptrdiff_t>(bar) * column.stride;
}

double TakenIn(double value, bool nanIsGap) { return nanIsGap && std::isnan(value) ? UndefinedValue : value; }
double HandedOut(double value, bool nanIsGap) {
    return nanIsGap && IsUndefined(value) ? std::numeric_limits<double>::quiet_NaN() : value;
}

bool IsWhole(const Compilation& compilation, const ColumnRun& run) {
    const bool hasAll = run.inputs.size() == compilation.columns.size() &&
                        run.outputs.size() == compilation.results.size() &&
                        std::ranges::all_of(compilation.UsedColumns(),
                                            [&](std::size_t column) { return run.inputs[column].first != nullptr; });
    return run.count <= std::numeric_limits<int>::max() && (hasAll || run.count == 0);
}

}  // namespace

HRESULT Run(Compilation& compilation, const ColumnSettings& settings, const ColumnRun& run) {
    if (!IsWhole(compilation, run)) return E_INVALIDARG;
    return Guarded([&] {
        Graph& graph = compilation.graph;
        const std::vector<std::size_t> used = compilation.UsedColumns();
        std::vector<double> row(compilation.columns.size(), UndefinedValue);
        if (settings.priceStep) graph.SetPriceStep(*settings.priceStep);
        HRESULT status = graph.Reset({std::max(static_cast<int>(run.count) - 1, 0), settings.holdsInputs});
        for (std::size_t bar = 0; bar < run.count && SUCCEEDED(status); ++bar) {
            for (const std::size_t column : used) {
                row[column] = TakenIn(*At(run.inputs[column], bar), settings.nanIsGap);
            }
            status = graph.Step(row.data(), static_cast<int>(bar));
            for (std::size_t i = 0; i < run.outputs.size(); ++i) {
                if (!run.outputs[i].first) continue;
                const double value = graph.Values()[compilation.results[i].place];
                *At(run.outputs[i], bar) = HandedOut(value, settings.nanIsGap);
            }
        }
        return status;
    });
}

void RunMany(const Compilation& model, const ColumnSettings& settings, std::span<const ColumnRun> runs,
             std::size_t threads, std::span<HRESULT> statuses) {
    std::ranges::fill(statuses, static_cast<HRESULT>(E_OUTOFMEMORY));
    std::atomic<std::size_t> next = 0;
    const auto work = [&] {
        Guarded([&] {
            const auto copy = CopyOf(model);
            if (!copy) return static_cast<HRESULT>(E_OUTOFMEMORY);  // what could be compiled once lacks only memory
            for (std::size_t i = next++; i < runs.size(); i = next++) statuses[i] = Run(**copy, settings, runs[i]);
            return static_cast<HRESULT>(S_OK);
        });
    };
    if (threads == 0) threads = std::max(std::thread::hardware_concurrency(), 1u);
    std::vector<std::thread> others;
    // Where no further thread can be had, those that there are do the work.
    Guarded([&] {
        others.reserve(std::min(threads, runs.size()));
        while (others.size() + 1 < std::min(threads, runs.size())) others.emplace_back(work);
        return S_OK;
    });
    work();
    for (std::thread& other : others) other.join();
}

}  // namespace sarvane::study
