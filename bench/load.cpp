// A host under load: many series, each with all operators, and ticks that come for one series after the other. A tick
// takes the last bar back and steps the new one, on every operator of its series; every so often a new bar begins, with
// a snapshot before it.
//
//     load [SERIES [TICKS]]    1000 series and 4 million ticks
//
// Prints how long a tick takes, and what the operators allocate once their windows are full. Fails if there is anything:
// only a key that TimeAvg meets for the first time takes memory then, and the keys here are 24.

#include "sarvane/class_ids.h"
#include "sarvane/class_info.h"
#include "sarvane/com_ptr.h"
#include "sarvane/operator.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <random>
#include <string>
#include <vector>

namespace {

std::size_t allocations = 0;

}  // namespace

// The library, too, takes its memory here.
void* operator new(std::size_t bytes) {
    ++allocations;
    if (void* const memory = std::malloc(bytes ? bytes : 1)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace sarvane::bench {
namespace {

constexpr int TicksOfABar = 20;
constexpr std::size_t WarmUpBars = 450;  // until the greatest window is full, which is the history depth, 400
constexpr short BeforeLastBar = 1;       // the snapshot

struct Bar {
    double open, high, low, close;
    double hour;  // for all curves of an operator but its first: a key, a condition
};

std::u16string Taken(TextSlot text) {
    std::u16string taken = text ? text : u"";
    CoTaskMemFree(text);
    return taken;
}

// A class, with arguments for which it gives results.
struct ClassPlan {
    std::string keyword;
    ComPtr<IClassFactory> factory;
    std::vector<std::pair<short, std::u16string>> arguments;
};

std::u16string Digits(int number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

// 10, 20 and so on for the numbers that a class can't do without; all else stays at its default.
ClassPlan PlanOf(const GUID& id) {
    ClassPlan plan;
    ComPtr<IZelmorClassInfo> info;
    DllGetClassObject(id, IID_IClassFactory, plan.factory.Slot());
    DllGetClassObject(id, IID_IZelmorClassInfo, info.Slot());
    TextSlot text = nullptr;
    info->GetKeyword(&text);
    const std::u16string keyword = Taken(text);
    plan.keyword.assign(keyword.begin(), keyword.end());
    ushort count = 0, kind = 0, use = 0, words = 0;
    int length = 0;
    info->GetArgumentCount(&count);
    for (short argument = 0; argument < count; ++argument) {
        info->GetArgumentKind(argument, &kind);
        info->GetArgumentUse(argument, &use);
        info->GetWordCount(argument, &words);
        const auto isInput =
            kind == static_cast<ushort>(ArgumentKind::Curve) || kind == static_cast<ushort>(ArgumentKind::Bar);
        if (isInput || use & ArgumentIsOptional) continue;
        if (words == 0) length += 10;
        plan.arguments.emplace_back(argument, words > 0 ? u"1" : Digits(length));
    }
    return plan;
}

// One operator on one series.
class Stepped {
public:
    explicit Stepped(const ClassPlan& plan) {
        if (FAILED(plan.factory->CreateInstance(nullptr, IID_IZelmorOp, op.Slot()))) std::abort();
        op->QueryInterface(IID_IZelmorOp2, barOp.Slot());
        for (const auto& [index, text] : plan.arguments) op->SetParameter(index, text.c_str(), nullptr);
        ushort inputs = 0, outputs = 0;
        op->GetInputCount(&inputs, nullptr);
        op->GetOutputCount(&outputs, nullptr);
        for (short input = 0; input < inputs; ++input) {
            TextSlot text = nullptr;
            ushort argument = 0;
            op->GetInputBarType(input, &text, nullptr);
            op->GetInputCurve(input, &argument, nullptr);
            const std::u16string type = Taken(text);
            fields.push_back(type == u"BAR_TYPE_OPEN"         ? &Bar::open
                             : type == u"BAR_TYPE_HIGH"       ? &Bar::high
                             : type == u"BAR_TYPE_LOW"        ? &Bar::low
                             : argument == 0 || !type.empty() ? &Bar::close
                                                              : &Bar::hour);
        }
        in.resize(inputs);
        out.resize(outputs);
        barOp ? barOp->ResetBar(0, 0, 0, nullptr) : op->Reset(0, nullptr);
    }

    void NewBar(const Bar& bar) {
        op->SaveState(BeforeLastBar);
        Step(bar);
    }
    void Tick(const Bar& bar) {
        op->RestoreState(BeforeLastBar);
        Step(bar);
    }

private:
    void Step(const Bar& bar) {
        for (std::size_t i = 0; i < in.size(); ++i) in[i] = bar.*fields[i];
        const int inputs = static_cast<int>(in.size()), outputs = static_cast<int>(out.size());
        barOp ? barOp->CalculateBar(0, inputs, in.data(), outputs, out.data())
              : op->Calculate(inputs, in.data(), outputs, out.data());
    }

    ComPtr<IZelmorOp> op;
    ComPtr<IZelmorOp2> barOp;
    std::vector<double Bar::*> fields;
    std::vector<double> in, out;
};

struct Series {
    std::vector<Stepped> operators;  // one of each class
    Bar bar = {100.0, 100.0, 100.0, 100.0, 0.0};
};

class Load {
public:
    explicit Load(std::size_t seriesCount) : all(seriesCount) {
        for (const GUID& id : ClassId::All) plans.push_back(PlanOf(id));
        for (Series& series : all) {
            for (const ClassPlan& plan : plans) series.operators.emplace_back(plan);
        }
        onBars.resize(plans.size());
        onTicks.resize(plans.size());
    }

    void WarmUp() {
        for (std::size_t bar = 0; bar < WarmUpBars; ++bar) {
            for (Series& series : all) NewBar(series);
        }
        std::fill(onBars.begin(), onBars.end(), 0);
        bars = 0;
    }

    // Sends one tick, and says how many nanoseconds the operators took.
    double Tick(std::size_t tick) {
        Series& series = all[tick % all.size()];
        const bool isNewBar = tick / all.size() % TicksOfABar == 0;
        const auto start = std::chrono::steady_clock::now();
        isNewBar ? NewBar(series) : ChangeBar(series);
        return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
    }

    // Prints which classes allocate. True if none does.
    bool PrintAllocations() const {
        std::size_t silent = 0;
        for (std::size_t i = 0; i < plans.size(); ++i) {
            const bool allocates = onBars[i] + onTicks[i] > 0;
            silent += !allocates;
            if (allocates)
                std::printf("%s allocates: %zu times on ticks, %zu times on %zu new bars\n", plans[i].keyword.c_str(),
                            onTicks[i], onBars[i], bars);
        }
        std::printf("%zu of %zu classes allocate nothing, neither on a tick nor on a new bar\n", silent, plans.size());
        return silent == plans.size();
    }

private:
    void NewBar(Series& series) {
        ++bars;
        const double close = series.bar.close;
        series.bar = {close, close, close, close, static_cast<double>(bars / all.size() % 24)};
        Move(series);
        for (std::size_t i = 0; i < plans.size(); ++i) {
            const std::size_t before = allocations;
            series.operators[i].NewBar(series.bar);
            onBars[i] += allocations - before;
        }
    }
    void ChangeBar(Series& series) {
        Move(series);
        for (std::size_t i = 0; i < plans.size(); ++i) {
            const std::size_t before = allocations;
            series.operators[i].Tick(series.bar);
            onTicks[i] += allocations - before;
        }
    }
    void Move(Series& series) {
        Bar& bar = series.bar;
        bar.close = std::max(bar.close + (static_cast<int>(random() % 21) - 10) / 100.0, 1.0);
        bar.high = std::max(bar.high, bar.close);
        bar.low = std::min(bar.low, bar.close);
    }

    std::vector<ClassPlan> plans;
    std::vector<Series> all;
    std::vector<std::size_t> onBars, onTicks;  // allocations by class
    std::size_t bars = 0;
    std::mt19937 random{1};
};

}  // namespace
}  // namespace sarvane::bench

int main(int argc, char** argv) {
    using namespace sarvane::bench;
    const std::size_t seriesCount = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1000;
    const std::size_t tickCount = argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 4'000'000;
    if (seriesCount == 0 || tickCount == 0 || argc > 3) {
        std::fputs("usage: load [SERIES [TICKS]]\n", stderr);
        return 2;
    }
    Load load(seriesCount);
    load.WarmUp();
    std::vector<double> durations(tickCount);
    for (std::size_t tick = 0; tick < tickCount; ++tick) durations[tick] = load.Tick(tick);
    std::sort(durations.begin(), durations.end());
    const double median = durations[tickCount / 2], late = durations[tickCount / 100 * 99];
    std::printf("%zu series of %zu operators, %zu ticks\n", seriesCount, std::size(sarvane::ClassId::All), tickCount);
    std::printf("a tick of a series: median %.1f us, 99th percentile %.2f times the median\n", median / 1e3,
                late / median);
    return load.PrintAllocations() ? 0 : 1;
}
