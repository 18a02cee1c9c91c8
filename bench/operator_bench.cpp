// What a bar, a tick and a snapshot of each class cost, and beside them a plain loop over arrays. Names of rows:
// what/keyword/window.

#include "sarvane/class_ids.h"
#include "sarvane/class_info.h"
#include "sarvane/com_ptr.h"
#include "sarvane/operator.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <random>
#include <string>
#include <vector>

namespace sarvane::bench {
namespace {

constexpr std::size_t SeriesLength = 4096;  // bars; a run goes round and round

std::string Taken(TextSlot text) {
    std::string taken;
    for (const char16_t* c = text; c && *c; ++c) taken += static_cast<char>(*c);
    CoTaskMemFree(text);
    return taken;
}

std::string KeywordOf(const GUID& id) {
    ComPtr<IZelmorClassInfo> info;
    TextSlot keyword = nullptr;
    DllGetClassObject(id, IID_IZelmorClassInfo, info.Slot());
    info->GetKeyword(&keyword);
    return Taken(keyword);
}

ComPtr<IZelmorOp> Create(const GUID& id) {
    ComPtr<IClassFactory> factory;
    ComPtr<IZelmorOp> op;
    DllGetClassObject(id, IID_IClassFactory, factory.Slot());
    factory->CreateInstance(nullptr, IID_IZelmorOp, op.Slot());
    return op;
}

struct Argument {
    short index = 0;
    ArgumentKind kind = ArgumentKind::Count;
    double least = 0.0;
    double greatest = 0.0;
    bool isNeeded = false;  // has no default, and there are no results without it
};

// The arguments that are numbers.
std::vector<Argument> NumbersOf(IZelmorClassInfo& info) {
    std::vector<Argument> numbers;
    ushort count = 0, kind = 0, use = 0;
    info.GetArgumentCount(&count);
    for (short index = 0; index < count; ++index) {
        Argument argument;
        argument.index = index;
        info.GetArgumentKind(index, &kind);
        info.GetArgumentUse(index, &use);
        info.GetArgumentRange(index, &argument.least, &argument.greatest);
        argument.kind = static_cast<ArgumentKind>(kind);
        argument.isNeeded = !(use & ArgumentIsOptional);
        if (argument.kind == ArgumentKind::Count || argument.kind == ArgumentKind::Number) numbers.push_back(argument);
    }
    return numbers;
}

// An operator whose first length is `window`: a count, or a number in a class without counts. Arguments that it can't do
// without are a small number.
ComPtr<IZelmorOp> Create(const GUID& id, int window) {
    ComPtr<IZelmorClassInfo> info;
    DllGetClassObject(id, IID_IZelmorClassInfo, info.Slot());
    const std::vector<Argument> numbers = NumbersOf(*info.Get());
    const auto canBeLong = [](const Argument& argument) { return argument.greatest > 1000.0; };
    auto length = std::ranges::find_if(
        numbers, [&](const Argument& argument) { return argument.kind == ArgumentKind::Count && canBeLong(argument); });
    if (length == numbers.end()) length = std::ranges::find_if(numbers, canBeLong);
    ComPtr<IZelmorOp> op = Create(id);
    for (auto argument = numbers.begin(); argument != numbers.end(); ++argument) {
        const std::string text = std::to_string(argument == length ? window : 3);
        if (argument == length || argument->isNeeded)
            op->SetParameter(argument->index, std::u16string(text.begin(), text.end()).c_str(), nullptr);
    }
    return op;
}

// An operator in the middle of a run over a series that wanders.
class Run {
public:
    Run(const GUID& id, int window) : op(Create(id, window)) {
        op->QueryInterface(IID_IZelmorOp2, bars.Slot());
        ushort count = 0;
        op->GetOutputCount(&count, nullptr);
        out.resize(count);
        op->GetInputCount(&count, nullptr);
        inputs = count;
        std::mt19937 random(1);
        std::normal_distribution<double> change(0.0, 0.01);
        std::uniform_real_distribution<double> above(0.0, 1.0);
        double close = 100.0;
        for (std::size_t bar = 0; bar < SeriesLength; ++bar) {
            const double open = close;
            close *= 1.0 + change(random);
            const double high = std::max(open, close) + above(random), low = std::min(open, close) - above(random);
            for (short input = 0; input < inputs; ++input) series.push_back(Field(input, open, high, low, close));
        }
        bars ? bars->ResetBar(0, 0, 0, nullptr) : op->Reset(0, nullptr);
        for (std::size_t bar = 0; bar < SeriesLength; ++bar) Step();
    }

    void Step() {
        const double* const in = &series[next * static_cast<std::size_t>(inputs)];
        const int index = static_cast<int>(next), outputs = static_cast<int>(out.size());
        bars ? bars->CalculateBar(index, inputs, in, outputs, out.data())
             : op->Calculate(inputs, in, outputs, out.data());
        next = (next + 1) % SeriesLength;
        benchmark::DoNotOptimize(out.data());
    }

    IZelmorOp* operator->() const { return op.Get(); }

private:
    double Field(short input, double open, double high, double low, double close) const {
        TextSlot text = nullptr;
        op->GetInputBarType(input, &text, nullptr);
        const std::string type = Taken(text);
        return type == "BAR_TYPE_OPEN" ? open : type == "BAR_TYPE_HIGH" ? high : type == "BAR_TYPE_LOW" ? low : close;
    }

    ComPtr<IZelmorOp> op;
    ComPtr<IZelmorOp2> bars;
    int inputs = 0;
    std::vector<double> series;  // inputs of a bar side by side
    std::vector<double> out;
    std::size_t next = 0;
};

// One new bar.
void Bar(benchmark::State& state, const GUID& id, int window) {
    Run run(id, window);
    for (auto _ : state) run.Step();
}

// The last bar changes.
void Tick(benchmark::State& state, const GUID& id, int window) {
    Run run(id, window);
    run->SaveState(1);
    for (auto _ : state) {
        run->RestoreState(1);
        run.Step();
    }
}

// A bar is finished and the next begins.
void SaveAndBar(benchmark::State& state, const GUID& id, int window) {
    Run run(id, window);
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
    std::vector<double> in(SeriesLength), out(SeriesLength);
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
        if (++bar == SeriesLength) bar = length;
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
