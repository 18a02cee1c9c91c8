// What the script `instructions` runs under callgrind: takes each class, and some expressions, through bars, through ticks
// and through bars with a snapshot ahead of them, and has callgrind write down the instructions of each. The name of a
// count is "keyword/window/what", with "keyword:bound" for a window whose length comes from a curve.

#include "sarvane/study.hpp"
#include "steady_run.h"

#include <cstdio>
#include <random>
#include <valgrind/callgrind.h>

namespace sarvane::bench {
namespace {

constexpr int BarCount = 256;
constexpr int TicksOfABar = 4;

// Counts the instructions of what is called between On and Off.
struct Counter {
    explicit Counter(std::string title) : name(std::move(title)) { CALLGRIND_ZERO_STATS; }
    ~Counter() { CALLGRIND_DUMP_STATS_AT(name.c_str()); }
    void Toggle() { CALLGRIND_TOGGLE_COLLECT; }

    std::string name;
};

// `run` has an object in steady state, which steps, and repeats its last bar with other values.
template <class Run>
void CountAll(Run& run, const std::string& name, int window) {
    const std::string row = name + "/" + std::to_string(window) + "/";
    CALLGRIND_START_INSTRUMENTATION;
    {
        Counter counter(row + "bar");
        counter.Toggle();
        for (int bar = 0; bar < BarCount; ++bar) run.Step();
        counter.Toggle();
    }
    {
        Counter counter(row + "save");
        counter.Toggle();
        for (int bar = 0; bar < BarCount; ++bar) {
            run.Save();
            run.Step();
        }
        counter.Toggle();
    }
    {
        Counter counter(row + "tick");
        for (int bar = 0; bar < BarCount / TicksOfABar; ++bar) {
            run.Save();
            run.Repeat();
            counter.Toggle();
            for (int tick = 0; tick < TicksOfABar; ++tick) {
                run.Restore();
                run.Repeat();
            }
            counter.Toggle();
            run.Restore();
            run.Step();
        }
    }
    CALLGRIND_STOP_INSTRUMENTATION;
}

// An expression over daily bars, through the interface for hosts.
class StudyRun {
public:
    StudyRun(const std::string& expression, int window) : study(Library(), {"close", "time"}) {
        study.Add(expression);
        study.Reset();
        for (int bar = 0; bar < 10 * window; ++bar) Step();
    }
    void Step() {
        row[1] += 86400.0;
        Repeat();
    }
    void Repeat() {
        row[0] = 100.0 + static_cast<double>(random() % 1000) / 100.0;
        study.Step(0, row, {&result, 1});
    }
    void Save() { study.Save(1); }
    void Restore() { study.Restore(1); }

private:
    static const StudyLibrary& Library() {
        static const StudyLibrary library;
        return library;
    }

    Study study;
    std::mt19937 random;
    double row[2] = {};
    double result = 0.0;
};

void CountExpressions() {
    for (const int window : {14, 200}) {
        const std::string average = "Sim(Close," + std::to_string(window) + ")";
        StudyRun plain(average, window), longer("at(1W, " + average + ")", window);
        CountAll(plain, "expression:Sim", window);
        CountAll(longer, "expression:at(1W,Sim)", window);
    }
}

// The name and major version.
std::string Compiler() {
#ifdef __clang__
    return "clang++ " + std::to_string(__clang_major__);
#else
    return "g++ " + std::to_string(__GNUC__);
#endif
}

void CountClasses() {
    std::printf("compiler %s, counts of %d\n", Compiler().c_str(), BarCount);
    for (const GUID& id : ClassId::All) {
        const std::string keyword = KeywordOf(id);
        for (const int window : {14, 200}) {
            SteadyRun run(id, window, Length::Constant);
            CountAll(run, keyword, window);
            if (!LengthCanBeBound(id)) continue;
            SteadyRun bound(id, window, Length::Bound);
            CountAll(bound, keyword + ":bound", window);
        }
    }
}

}  // namespace
}  // namespace sarvane::bench

int main() {
    sarvane::bench::CountClasses();
    sarvane::bench::CountExpressions();
    return 0;
}
