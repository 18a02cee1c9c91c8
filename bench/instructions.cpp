// What the script `instructions` runs under callgrind: takes each class through bars, through ticks and through bars
// with a snapshot ahead of them, and has callgrind write down the instructions of each. The name of a count is
// "keyword/window/what", with "keyword:bound" for a window whose length comes from a curve.

#include "steady_run.h"

#include <cstdio>
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

void CountAll(const GUID& id, const std::string& name, int window, Length length) {
    SteadyRun run(id, window, length);
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
            run->SaveState(1);
            run.Step();
        }
        counter.Toggle();
    }
    {
        Counter counter(row + "tick");
        for (int bar = 0; bar < BarCount / TicksOfABar; ++bar) {
            run->SaveState(1);
            run.Repeat();
            counter.Toggle();
            for (int tick = 0; tick < TicksOfABar; ++tick) {
                run->RestoreState(1);
                run.Repeat();
            }
            counter.Toggle();
            run->RestoreState(1);
            run.Step();
        }
    }
    CALLGRIND_STOP_INSTRUMENTATION;
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
            CountAll(id, keyword, window, Length::Constant);
            if (LengthCanBeBound(id)) CountAll(id, keyword + ":bound", window, Length::Bound);
        }
    }
}

}  // namespace
}  // namespace sarvane::bench

int main() {
    sarvane::bench::CountClasses();
    return 0;
}
