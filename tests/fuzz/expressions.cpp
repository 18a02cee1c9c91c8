// Any text as expressions, with a zero byte between two. What can be compiled is run over a few bars: a state that was
// saved goes on as it did before.

#include "check.h"
#include "compilation.h"

#include <bit>

namespace sarvane::fuzz {
namespace {

using namespace study;

const std::vector<std::string> Columns = {"open", "high", "low", "close", "volume", "adj close", "time"};
constexpr int Bars = 24;

std::shared_ptr<const StudyLibrary> Library() {
    static const auto library = StudyLibrary::Load();
    Check(bool(library), "the operator library lies beside the program");
    return *library;
}

// Prices that move up and down, and a gap here and there.
std::vector<double> Row(int bar) {
    const double close = 100.0 + bar * 7 % 11 / 4.0;
    if (bar % 13 == 12) return std::vector<double>(Columns.size(), UndefinedValue);
    return {close - 0.5, close + 1.0,  close - bar % 3, close, bar % 5 == 4 ? UndefinedValue : 1000.0 + bar,
            close / 2,   40000.0 * bar};
}

using Values = std::vector<std::uint64_t>;

std::optional<Values> Step(Compilation& compiled, int bar) {
    if (FAILED(compiled.graph.Step(Row(bar).data(), bar))) return std::nullopt;
    Values values;
    for (const ResultColumn& result : compiled.results)
        values.push_back(std::bit_cast<std::uint64_t>(compiled.graph.Values()[result.place]));
    return values;
}

void Run(Compilation& compiled) {
    Graph& graph = compiled.graph;
    if (FAILED(graph.Reset({Bars - 1}))) return;
    for (int bar = 0; bar < Bars; ++bar) {
        const bool isSaved = graph.Save(1) == S_OK;
        const auto first = Step(compiled, bar);
        if (!first || bar % 4 != 3 || !isSaved || FAILED(graph.Restore(1))) continue;
        const auto second = Step(compiled, bar);
        Check(!second || *first == *second || !graph.WithoutSnapshots().empty(), "a restored state goes on as before");
    }
}

// Whether the whole text was compiled.
bool Compile(Compiler& compiler, std::string_view text, bool allOutputs) {
    for (;;) {
        const std::string part(text.substr(0, text.find('\0')));
        if (const auto problem = compiler.Add(part, {.allOutputs = allOutputs})) {
            Check(!problem->message.empty(), "a problem has a message");
            const bool isHere = problem->source.empty() || problem->source.starts_with("expression ");
            Check(!isHere || problem->offset + problem->length <= text.size(), "a problem lies in the text");
            return false;
        }
        if (part.size() == text.size()) return true;
        text.remove_prefix(part.size() + 1);
    }
}

}  // namespace
}  // namespace sarvane::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace sarvane::fuzz;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    sarvane::study::Compiler compiler(Library(), Columns);
    if (Compile(compiler, text, size % 2 == 0)) Run(compiler.Compiled());
    return 0;
}
