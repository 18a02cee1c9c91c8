// What a bar, a tick, a snapshot and the making of each class cost, and beside them a plain loop over arrays. Names of
// rows: what/keyword/window.

#include "steady_run.h"

#include <benchmark/benchmark.h>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <random>
#include <string>
#include <vector>

namespace {

std::size_t bytesInUse = 0;

}  // namespace

// The library, too, takes its memory here. The size of each block is kept ahead of it.
void* operator new(std::size_t bytes) {
    constexpr std::size_t Ahead = alignof(std::max_align_t);
    char* const memory = static_cast<char*>(std::malloc(Ahead + bytes));
    if (!memory) throw std::bad_alloc();
    *reinterpret_cast<std::size_t*>(memory) = bytes;
    bytesInUse += bytes;
    return memory + Ahead;
}
void operator delete(void* memory) noexcept {
    if (!memory) return;
    char* const start = static_cast<char*>(memory) - alignof(std::max_align_t);
    bytesInUse -= *reinterpret_cast<std::size_t*>(start);
    std::free(start);
}
void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }

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

// A snapshot, a bar and nine changes of it: time of all eleven calls and ten restores.
void TenTicks(benchmark::State& state, const GUID& id, int window) {
    SteadyRun run(id, window);
    for (auto _ : state) {
        run->SaveState(1);
        for (int tick = 1; tick < 10; ++tick) {
            run.Repeat();
            run->RestoreState(1);
        }
        run.Step();
    }
}

// A hundred bars after each snapshot: time of one bar.
void SeldomSave(benchmark::State& state, const GUID& id, int window) {
    SteadyRun run(id, window);
    int bars = 0;
    for (auto _ : state) {
        if (bars++ % 100 == 0) run->SaveState(1);
        run.Step();
    }
}

// An operator is made, gets its parameters and is reset. `bytes` is the memory that it then has.
void Creation(benchmark::State& state, const GUID& id) {
    const std::vector<Setting> settings = SettingsFor(id, 14, Length::Constant);
    const auto make = [&] {
        ComPtr<IZelmorOp> op = Create(id);
        ComPtr<IZelmorOp2> bars;
        op->QueryInterface(IID_IZelmorOp2, bars.Slot());
        Prepare(op.Get(), settings);
        bars ? bars->ResetBar(0, 0, 0, nullptr) : op->Reset(0, nullptr);
        return op;
    };
    for (auto _ : state) benchmark::DoNotOptimize(make().Get());
    const std::size_t before = bytesInUse;
    const ComPtr<IZelmorOp> op = make();
    state.counters["bytes"] = static_cast<double>(bytesInUse - before);
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
        for (const int window : {5, 50, 400, 3200}) {
            const std::string row = "/" + keyword + "/" + std::to_string(window);
            benchmark::RegisterBenchmark(("Bar" + row).c_str(), Bar, id, window);
            benchmark::RegisterBenchmark(("Tick" + row).c_str(), Tick, id, window);
            benchmark::RegisterBenchmark(("SaveAndBar" + row).c_str(), SaveAndBar, id, window);
            benchmark::RegisterBenchmark(("TenTicks" + row).c_str(), TenTicks, id, window);
            benchmark::RegisterBenchmark(("SeldomSave" + row).c_str(), SeldomSave, id, window);
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
