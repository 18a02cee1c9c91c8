// What expressions cost beside the operators that they are made of. Names of rows: what/how.

#include "sarvane/class_ids.h"
#include "sarvane/study.hpp"

#include <benchmark/benchmark.h>
#include <random>

namespace sarvane::bench {
namespace {

constexpr std::size_t SeriesLength = 4096;  // bars; a run goes round and round

const StudyLibrary& Library() {
    static const StudyLibrary library;
    return library;
}

const std::vector<double>& Closes() {
    static const std::vector<double> closes = [] {
        std::mt19937 random(1);
        std::vector<double> made;
        double price = 100.0;
        while (made.size() < SeriesLength) {
            price *= 1.0 + 0.02 * (std::uniform_real_distribution<double>()(random) - 0.5);
            made.push_back(price);
        }
        return made;
    }();
    return closes;
}

Study Compiled(const std::vector<std::string>& expressions) {
    Study study(Library(), {"Close"});
    for (const std::string& expression : expressions) study.Add(expression);
    return study;
}

// Whole columns, by bar.
void RunColumn(benchmark::State& state, const std::vector<std::string>& expressions) {
    Study study = Compiled(expressions);
    const SarvaneInput input = {Closes().data(), 1};
    std::vector<std::vector<double>> results(expressions.size(), std::vector<double>(SeriesLength));
    std::vector<SarvaneOutput> outputs;
    for (std::vector<double>& column : results) outputs.push_back({column.data(), 1});
    for (auto _ : state) study.Run(SeriesLength, {&input, 1}, outputs);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(SeriesLength));
}

// The operator alone, in a bare loop.
void CallOperator(benchmark::State& state) {
    ComPtr<IClassFactory> factory;
    ComPtr<IZelmorOp> op;
    DllGetClassObject(ClassId::SimAvgOp, IID_IClassFactory, factory.Slot());
    factory->CreateInstance(nullptr, IID_IZelmorOp, op.Slot());
    op->SetParameter(1, u"20", nullptr);
    std::vector<double> results(SeriesLength);
    for (auto _ : state) {
        op->Reset(0, nullptr);
        for (std::size_t bar = 0; bar < SeriesLength; ++bar) op->Calculate(1, &Closes()[bar], 1, &results[bar]);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(SeriesLength));
}

// A tick of the last bar of a series.
void Tick(benchmark::State& state, const std::vector<std::string>& expressions) {
    const Study study = Compiled(expressions);
    Series series(study);
    for (std::size_t bar = 0; bar < SeriesLength; ++bar) {
        series.Append(static_cast<std::int64_t>(bar), {&Closes()[bar], 1});
    }
    std::size_t tick = 0;
    for (auto _ : state) series.ChangeLast({&Closes()[tick++ % SeriesLength], 1});
    state.SetItemsProcessed(state.iterations());
}

// Expressions in studies of their own, one after the other.
void RunApart(benchmark::State& state, const std::vector<std::string>& expressions) {
    std::vector<Study> studies;
    for (const std::string& expression : expressions) studies.push_back(Compiled({expression}));
    const SarvaneInput input = {Closes().data(), 1};
    std::vector<double> results(SeriesLength);
    const SarvaneOutput output = {results.data(), 1};
    for (auto _ : state) {
        for (Study& study : studies) study.Run(SeriesLength, {&input, 1}, {&output, 1});
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(SeriesLength));
}

// Trades, some hundred a minute, to bars of a minute.
void MakeMinutes(benchmark::State& state) {
    constexpr std::size_t TradeCount = 1000000;
    std::mt19937 random(1);
    std::vector<std::int64_t> times;
    std::vector<double> prices, sizes;
    std::int64_t time = 1710000000000000000;
    while (times.size() < TradeCount) {
        times.push_back(time += static_cast<std::int64_t>(random() % 400000000));
        prices.push_back(Closes()[times.size() % SeriesLength]);
        sizes.push_back(static_cast<double>(random() % 500));
    }
    const char* const columns[] = {"open", "high", "low", "close", "volume"};
    const SarvaneInput price = {prices.data(), 1}, size = {sizes.data(), 1};
    const SarvaneInput inputs[] = {price, price, price, price, size};
    const SarvaneBarsSettings settings = {1, 0, 0};
    for (auto _ : state) {
        SarvaneBars* bars = nullptr;
        SarvaneCreateBars("1min", columns, std::size(columns), &settings, &bars, nullptr);
        SarvaneTakeRows(bars, TradeCount, times.data(), inputs, nullptr, nullptr);
        benchmark::DoNotOptimize(SarvaneCountBars(bars));
        SarvaneFreeBars(bars);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(TradeCount));
}

const std::vector<std::string> OneAverage = {"Sim(Close, 20)"};
const std::vector<std::string> Nested = {"Sim(Exp(Close, 5), 10) - Exp(Close, 5)"};
// Six expressions with three averages in them.
const std::vector<std::string> Alike = {"Exp(Close, 12)",
                                        "Exp(Close, 26)",
                                        "Exp(Close, 12) - Exp(Close, 26)",
                                        "Exp(Exp(Close, 12) - Exp(Close, 26), 9)",
                                        "Close > Exp(Close, 12)",
                                        "Exp(Close, 12) > Exp(Close, 26)"};

BENCHMARK_CAPTURE(RunColumn, Sim, OneAverage);
BENCHMARK(CallOperator)->Name("CallOperator/Sim");
BENCHMARK_CAPTURE(RunColumn, Nested, Nested);
BENCHMARK_CAPTURE(RunColumn, together, Alike);
BENCHMARK_CAPTURE(RunApart, apart, Alike);
BENCHMARK(MakeMinutes)->Name("MakeBars/trades to minutes");
BENCHMARK_CAPTURE(Tick, Sim, OneAverage);
BENCHMARK_CAPTURE(Tick, Nested, Nested);
BENCHMARK_CAPTURE(Tick, together, Alike);

}  // namespace
}  // namespace sarvane::bench

BENCHMARK_MAIN();
