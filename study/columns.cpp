#include "columns.h"

#include "platform/guarded_call.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <thread>

namespace sarvane::study {
namespace {

// A column of the caller's and the place among the graph's values that its bars pass through.
template <class Value>
struct Passage {
    Value* first;
    std::ptrdiff_t stride;
    std::size_t place;

    Value& At(int bar) const { return first[bar * stride]; }
};

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
        if (settings.priceStep) graph.SetPriceStep(*settings.priceStep);
        const HRESULT status = graph.Reset({std::max(static_cast<int>(run.count) - 1, 0), settings.holdsInputs});
        if (run.count == 0) return status;  // there may be no columns then

        std::vector<Passage<const double>> in;
        for (const std::size_t i : compilation.UsedColumns())
            in.push_back({run.inputs[i].first, run.inputs[i].stride, i});
        std::vector<Passage<double>> out;
        for (std::size_t i = 0; i < run.outputs.size(); ++i) {
            const OutputColumn& column = run.outputs[i];
            if (column.first) out.push_back({column.first, column.stride, compilation.results[i].place});
        }
        double* const values = graph.Columns();
        std::fill_n(values, compilation.columns.size(), UndefinedValue);
        if (FAILED(status)) return status;
        const auto takeIn = [values, nanIsGap = settings.nanIsGap, columns = std::span(in)](int bar) {
            for (const auto& column : columns) values[column.place] = TakenIn(column.At(bar), nanIsGap);
        };
        const auto handOut = [values, nanIsGap = settings.nanIsGap, columns = std::span(out)](int bar) {
            for (const auto& column : columns) column.At(bar) = HandedOut(values[column.place], nanIsGap);
        };
        return graph.StepAll(static_cast<int>(run.count), takeIn, handOut);
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
