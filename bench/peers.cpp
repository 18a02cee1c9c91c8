// What the script `peers` runs: nanoseconds for one bar of an operator, through the binary interface, next to those of
// the batch functions of two C libraries that come nearest to it. The batch functions get a whole series in one call.

#include "steady_run.h"

#include <chrono>
#include <cstdio>
#include <functional>
#include <indicators.h>
#include <limits>
#include <ta_func.h>

namespace sarvane::bench {
namespace {

constexpr int Bars = 4096;
constexpr int Rounds = 25;  // of which the fastest counts, since other programs take time now and then

struct Series {
    std::vector<double> open, high, low, close;
    mutable std::vector<double> out[3];
    mutable std::vector<int> places;

    Series() : places(Bars) {
        std::mt19937 random(1);
        std::normal_distribution<double> change(0.0, 0.01);
        std::uniform_real_distribution<double> above(0.0, 1.0);
        double price = 100.0;
        for (int bar = 0; bar < Bars; ++bar) {
            open.push_back(price);
            price *= 1.0 + change(random);
            close.push_back(price);
            high.push_back(std::max(open.back(), price) + above(random));
            low.push_back(std::min(open.back(), price) - above(random));
        }
        for (auto& column : out) column.resize(Bars);
    }
};

using Batch = std::function<void(const Series&, int window)>;

using OneOutput = TA_RetCode (*)(int, int, const double*, int, int*, int*, double*);
Batch TaLib(OneOutput function) {
    return [=](const Series& s, int window) {
        int first, count;
        function(0, Bars - 1, s.close.data(), window, &first, &count, s.out[0].data());
    };
}
Batch TaLibPlace(TA_RetCode (*function)(int, int, const double*, int, int*, int*, int*)) {
    return [=](const Series& s, int window) {
        int first, count;
        function(0, Bars - 1, s.close.data(), window, &first, &count, s.places.data());
    };
}
Batch Tulip(ti_indicator_function function) {
    return [=](const Series& s, int window) {
        const double* const in[] = {s.close.data()};
        const double options[] = {static_cast<double>(window)};
        double* const out[] = {s.out[0].data()};
        function(Bars, in, options, out);
    };
}

struct Pair {
    const char* keyword;
    const char* taLibName;
    Batch taLib;
    const char* tulipName;
    Batch tulip;
};

void TaDeviation(const Series& s, int window) {
    int first, count;
    TA_STDDEV(0, Bars - 1, s.close.data(), window, 1.0, &first, &count, s.out[0].data());
}
void TaCorrelation(const Series& s, int window) {
    int first, count;
    TA_CORREL(0, Bars - 1, s.close.data(), s.open.data(), window, &first, &count, s.out[0].data());
}
void TaRange(const Series& s, int window) {
    int first, count;
    TA_ATR(0, Bars - 1, s.high.data(), s.low.data(), s.close.data(), window, &first, &count, s.out[0].data());
}
void TaStochastic(const Series& s, int window) {
    int first, count;
    TA_STOCH(0, Bars - 1, s.high.data(), s.low.data(), s.close.data(), window, 3, TA_MAType_SMA, 3, TA_MAType_SMA,
             &first, &count, s.out[0].data(), s.out[1].data());
}
void TulipRange(const Series& s, int window) {
    const double* const in[] = {s.high.data(), s.low.data(), s.close.data()};
    const double options[] = {static_cast<double>(window)};
    double* const out[] = {s.out[0].data()};
    ti_atr(Bars, in, options, out);
}
void TulipStochastic(const Series& s, int window) {
    const double* const in[] = {s.high.data(), s.low.data(), s.close.data()};
    const double options[] = {static_cast<double>(window), 3, 3};
    double* const out[] = {s.out[0].data(), s.out[1].data()};
    ti_stoch(Bars, in, options, out);
}

const Pair pairs[] = {
    {"Sim", "SMA", TaLib(TA_SMA), "sma", Tulip(ti_sma)},
    {"Wei", "WMA", TaLib(TA_WMA), "wma", Tulip(ti_wma)},
    {"Exp", "EMA", TaLib(TA_EMA), "ema", Tulip(ti_ema)},
    {"Smo", nullptr, nullptr, "wilders", Tulip(ti_wilders)},
    {"Trix", "TRIX", TaLib(TA_TRIX), "trix", Tulip(ti_trix)},
    {"AMAOp", "KAMA", TaLib(TA_KAMA), "kama", Tulip(ti_kama)},
    {"SDev", "STDDEV", TaDeviation, "stddev", Tulip(ti_stddev)},
    {"MeanDev", nullptr, nullptr, "md", Tulip(ti_md)},
    {"HiLev", "MAXINDEX", TaLibPlace(TA_MAXINDEX), "max", Tulip(ti_max)},
    {"LoLev", "MININDEX", TaLibPlace(TA_MININDEX), "min", Tulip(ti_min)},
    {"Correl", "CORREL", TaCorrelation, nullptr, nullptr},
    {"StochXOp", "STOCH", TaStochastic, "stoch", TulipStochastic},
    {"VolStop", "ATR", TaRange, "atr", TulipRange},
};

template <class Run>
double NanosecondsOfABar(Run run) {
    const auto start = std::chrono::steady_clock::now();
    run();
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count() / Bars;
}

const GUID& IdOf(const std::string& keyword) {
    return *std::ranges::find_if(ClassId::All, [&](const GUID& id) { return KeywordOf(id) == keyword; });
}

std::string Cell(const char* name, double time) {
    char text[64];
    if (!name) return "-";
    std::snprintf(text, sizeof text, "%s %.1f", name, time);
    return text;
}

// The three take turns, so that what else the machine does hits all of them.
void Compare(const Pair& pair, const Series& series, int window) {
    SteadyRun run(IdOf(pair.keyword), window);
    double bar = std::numeric_limits<double>::infinity(), tick = bar, taLib = bar, tulip = bar;
    for (int round = 0; round < Rounds; ++round) {
        bar = std::min(bar, NanosecondsOfABar([&] {
                           for (int i = 0; i < Bars; ++i) run.Step();
                       }));
        run->SaveState(1);
        tick = std::min(tick, NanosecondsOfABar([&] {
                            for (int i = 0; i < Bars; ++i) {
                                run->RestoreState(1);
                                run.Repeat();
                            }
                        }));
        if (pair.taLib) taLib = std::min(taLib, NanosecondsOfABar([&] { pair.taLib(series, window); }));
        if (pair.tulip) tulip = std::min(tulip, NanosecondsOfABar([&] { pair.tulip(series, window); }));
    }
    std::printf("| %s | %d | %.1f | %.1f | %s | %s |\n", pair.keyword, window, bar, tick,
                Cell(pair.taLibName, taLib).c_str(), Cell(pair.tulipName, tulip).c_str());
}

}  // namespace
}  // namespace sarvane::bench

int main() {
    using namespace sarvane::bench;
    const Series series;
    std::printf("| operator | window | bar | tick | TA-Lib | Tulip |\n|---|---:|---:|---:|---:|---:|\n");
    for (const Pair& pair : pairs) {
        for (const int window : {14, 200}) Compare(pair, series, window);
    }
    return 0;
}
