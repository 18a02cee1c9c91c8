// What a bar, a tick and a snapshot of each class cost, and beside them a plain loop over arrays. Names of rows:
// what/keyword/window.

#include "sarvane/com_ptr.h"
#include "sarvane/operator.h"
#include "sarvane/registry.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <random>
#include <string>
#include <vector>

namespace sarvane::bench {
namespace {

constexpr std::size_t SeriesLength = 4096;  // bars; a run goes round and round

struct ClassRow {
    std::string keyword;
    GUID id;
};

std::u16string Taken(TextSlot text) {
    std::u16string taken = text ? text : u"";
    CoTaskMemFree(text);
    return taken;
}

std::u16string Digits(int number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

std::vector<ClassRow> Classes() {
    std::vector<ClassRow> rows;
    DllRegisterServer();
    TextSlot text = nullptr;
    for (uint i = 0; SarvaneReadRegistryKey(u"CLSID", i, &text) == S_OK; ++i) {
        const std::u16string id = Taken(text);
        SarvaneReadRegistryValue((u"CLSID\\" + id + u"\\Keyword").c_str(), nullptr, &text);
        const std::u16string keyword = Taken(text);
        rows.push_back({std::string(keyword.begin(), keyword.end()), *ParsedId(std::u16string_view(id))});
    }
    return rows;
}

ComPtr<IZelmorOp> Create(const GUID& id) {
    ComPtr<IClassFactory> factory;
    ComPtr<IZelmorOp> op;
    DllGetClassObject(id, IID_IClassFactory, factory.Slot());
    factory->CreateInstance(nullptr, IID_IZelmorOp, op.Slot());
    return op;
}

// What an operator says of its lengths: inputs that stand in for missing ones, missing ones in its formula, lookback.
struct Needs {
    int inputs;
    int unset;
    uint lookback;
};

Needs NeedsOf(IZelmorOp& op) {
    ushort inputs = 0;
    uint lookback = 0;
    TextSlot text = nullptr;
    op.GetInputCount(&inputs, nullptr);
    op.GetLookback(&lookback, nullptr);
    op.GetFormula(&text, nullptr);
    const std::u16string formula = Taken(text);
    int unset = 0;
    for (std::size_t at = 0; (at = formula.find(u"-2147483648", at)) != std::u16string::npos; ++at) ++unset;
    return {inputs, unset, lookback};
}

using Arguments = std::vector<std::pair<short, std::u16string>>;

ComPtr<IZelmorOp> Create(const GUID& id, const Arguments& arguments) {
    ComPtr<IZelmorOp> op = Create(id);
    for (const auto& [index, text] : arguments) op->SetParameter(index, text.c_str(), nullptr);
    return op;
}

// The window for the first length among the arguments, and a small number for others that a new object lacks.
Arguments ArgumentsFor(const GUID& id, int window) {
    Arguments arguments;
    bool given = false;
    for (short index = 1; index < 16; ++index) {
        const Needs before = NeedsOf(*Create(id, arguments).Get());
        Arguments more = arguments;
        more.emplace_back(index, given ? u"3" : Digits(window));
        const Needs after = NeedsOf(*Create(id, more).Get());
        const bool wasMissing = after.inputs < before.inputs || after.unset < before.unset;
        if (!wasMissing && (given || after.lookback == before.lookback)) continue;
        arguments = more;
        given = true;
    }
    return arguments;
}

// An operator in the middle of a run over a series that wanders.
class Run {
public:
    Run(const GUID& id, int window) : op(Create(id, ArgumentsFor(id, window))) {
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
        const std::u16string type = Taken(text);
        return type == u"BAR_TYPE_OPEN"   ? open
               : type == u"BAR_TYPE_HIGH" ? high
               : type == u"BAR_TYPE_LOW"  ? low
                                          : close;
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
    for (const auto& [keyword, id] : Classes()) {
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
