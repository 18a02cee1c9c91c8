// What a bar, a tick and a snapshot of each class cost, and beside them a plain loop over arrays. Names of rows:
// what/keyword/window.

#include "steady_run.h"

#include <benchmark/benchmark.h>
#include <random>
#include <string>
#include <vector>

namespace sarvane::bench {
namespace {

// One new bar.
void Bar(benchmark::State& state, const GUID& id, int window) {
    SteadyRun run(id, window);
    for (auto _ : state) run.Step();
}

// The last bar changes.
void Tick(benchmark::State& state, const GUID& id, int window) {
    SteadyRun run(id, window);
    run->SaveState(1);
    for (auto _ : state) {
        run->RestoreState(1);
        run.Step();
    }
}

// A bar is finished and the next begins.
void SaveAndBar(benchmark::State& state, const GUID& id, int window) {
    SteadyRun run(id, window);
    for (auto _ : state) {
        run->SaveState(1);
        run.Step();
    }
}

void Creation(benchmark::State& state, const GUID& id) {
    for (auto _ : state) benchmark::DoNotOptimize(Create(id).Get());
}

// The same simple average without operators: a running sum over arrays.
void PlainLoop(benchmark::State& state, int window) {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> price(90.0, 110.0);
    std::vector<double> in(SteadyRun::SeriesLength), out(SteadyRun::SeriesLength);
    for (double& value : in) value = price(random);
    const auto length = static_cast<std::size_t>(window);
    double sum = 0.0;
    for (std::size_t i = 0; i < length; ++i) sum += in[i];
    std::size_t bar = length;
    for (auto _ : state) {
        sum -= in[bar - length];
        sum += in[bar];
        out[bar] = sum / window;
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
        if (++bar == SteadyRun::SeriesLength) bar = length;
    }
}

void RegisterAll() {
    for (const int window : {5, 50, 400}) {
        const std::string suffix = "/" + std::to_string(window);
        benchmark::RegisterBenchmark(("PlainLoop/Sim" + suffix).c_str(), PlainLoop, window);
    }
    for (const GUID& id : ClassId::All) {
        const std::string keyword = KeywordOf(id);
        for (const int window : {5, 50, 400}) {
            const std::string row = "/" + keyword + "/" + std::to_string(window);
            benchmark::RegisterBenchmark(("Bar" + row).c_str(), Bar, id, window);
            benchmark::RegisterBenchmark(("Tick" + row).c_str(), Tick, id, window);
            benchmark::RegisterBenchmark(("SaveAndBar" + row).c_str(), SaveAndBar, id, window);
        }
        benchmark::RegisterBenchmark(("Creation/" + keyword).c_str(), Creation, id);
    }
}

}  // namespace
}  // namespace sarvane::bench

int main(int argc, char** argv) {
    sarvane::bench::RegisterAll();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
