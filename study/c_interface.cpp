// The functions of study.h: each hands its work on to the class that does it, and turns what goes wrong into a status.

#include "sarvane/study.h"

#include "columns.h"
#include "compilation.h"
#include "compiled_operator.h"
#include "frames/frame_bars.h"
#include "language/documentation.h"
#include "platform/guarded_call.h"
#include "sarvane/chart_label.h"
#include "series_stream.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

using namespace sarvane;
using namespace sarvane::study;

struct SarvaneLibrary {
    std::shared_ptr<StudyLibrary> studies;
    // By definition. The texts that callers get to see lie here.
    struct Described {
        std::shared_ptr<const Definition> definition;
        Documentation about;
    };
    std::vector<Described> definitions = {};

    void Describe() {
        std::vector<Described> all;
        for (auto& definition : studies->Studies().All()) {
            Documentation about = DocumentationOf(definition->statement, definition->source->text);
            all.push_back({std::move(definition), std::move(about)});
        }
        definitions = std::move(all);
    }
};

// Expressions that can be added to and run; or those of a series, which can only be asked.
struct SarvaneStudy {
    std::unique_ptr<Compiler> compiler;
    const Compilation* compiled;
    bool isRunning = false;
    bool countsBars = false;  // else each bar is the last one when it comes
    double barSeconds = 0.0;

    Graph& Running() { return compiler->Compiled().graph; }
};

struct SarvaneSeries {
    std::unique_ptr<Series> bars;
    SarvaneStudy study;

    explicit SarvaneSeries(std::unique_ptr<Series> made) : bars(std::move(made)), study{nullptr, &bars->Compiled()} {}
};

struct SarvaneFrame {
    Frame frame;
};

struct SarvaneBars {
    FrameBars made;
    std::vector<double> row;
};

namespace {

// Who frees a problem hands back the structure, and frees with it the texts that it points to.
struct OwnedProblem : SarvaneProblem {
    Problem held;
    std::vector<const char*> words;

    explicit OwnedProblem(Problem problem) : held(std::move(problem)) {
        for (const std::string& word : held.nearest) words.push_back(word.c_str());
        offset = held.offset;
        length = held.length;
        message = held.message.c_str();
        source = held.source.c_str();
        text = held.text.c_str();
        nearest = words.data();
        nearestCount = words.size();
    }
};

SarvaneStatus StatusOf(HRESULT status) {
    switch (status) {
    case S_OK: return SARVANE_OK;
    case S_FALSE: return SARVANE_NO_SNAPSHOT;
    case E_OUTOFMEMORY: return SARVANE_OUT_OF_MEMORY;
    case E_INVALIDARG: return SARVANE_WRONG_ARGUMENT;
    default: return SARVANE_FAILED;
    }
}

// Runs code that may run out of memory.
template <class Call>
SarvaneStatus Answer(Call call) {
    SarvaneStatus status = SARVANE_OUT_OF_MEMORY;
    Guarded([&] {
        status = call();
        return S_OK;
    });
    return status;
}

template <class Handle>
void Clear(Handle** slot) {
    if (slot) *slot = nullptr;
}

SarvaneStatus Refuse(Problem fault, SarvaneStatus status, SarvaneProblem** problem) {
    if (fault.isOutOfMemory) return SARVANE_OUT_OF_MEMORY;
    if (problem) *problem = new OwnedProblem(std::move(fault));
    return status;
}

CompileSettings SettingsOf(const SarvaneExpressionSettings* given) {
    CompileSettings settings;
    if (!given) return settings;
    if (given->history != SARVANE_UNSET) settings.operators.history = given->history;
    if (given->digits != SARVANE_UNSET) settings.operators.digits = given->digits;
    settings.allOutputs = given->allOutputs != 0;
    return settings;
}

std::optional<double> PriceStep(double step) { return step > 0.0 ? std::optional(step) : std::nullopt; }

ColumnSettings SettingsOf(const SarvaneRunSettings* given) {
    if (!given) return {};
    return {given->holdsInputs != 0, PriceStep(given->priceStep), given->nanIsGap != 0};
}

bool AreTexts(const char* const* texts, std::size_t count) {
    for (std::size_t i = 0; texts && i < count; ++i) {
        if (!texts[i]) return false;
    }
    return texts || count == 0;
}
std::vector<std::string> Texts(const char* const* texts, std::size_t count) {
    return std::vector<std::string>(texts, texts + count);
}

const OperatorClass* FindOperator(const SarvaneLibrary* library, std::size_t op) {
    if (!library) return nullptr;
    const auto classes = library->studies->Operators().Classes();
    return op < classes.size() ? &classes[op] : nullptr;
}
const ArgumentInfo* FindArgument(const SarvaneLibrary* library, std::size_t op, std::size_t argument) {
    const OperatorClass* const found = FindOperator(library, op);
    return found && argument < found->arguments.size() ? &found->arguments[argument] : nullptr;
}

// The columns of a run in the library's form.
struct RunColumns {
    std::vector<InputColumn> inputs;
    std::vector<OutputColumn> outputs;

    RunColumns(const Compilation& compiled, const SarvaneInput* in, const SarvaneOutput* out) {
        for (std::size_t i = 0; in && i < compiled.columns.size(); ++i) inputs.push_back({in[i].first, in[i].stride});
        for (std::size_t i = 0; out && i < compiled.results.size(); ++i) {
            outputs.push_back({out[i].first, out[i].stride});
        }
    }
    ColumnRun Over(std::size_t barCount) const { return {inputs, barCount, outputs}; }
};

Series::Row RowOf(const SarvaneSeries* series, const double* row, std::size_t bars = 1) {
    return row ? Series::Row(row, bars * series->study.compiled->columns.size()) : Series::Row();
}

}  // namespace

extern "C" {

const char* SarvaneStatusText(SarvaneStatus status) {
    switch (status) {
    case SARVANE_OK: return "all is well";
    case SARVANE_WRONG_TEXT: return "the text is no expression that can be compiled";
    case SARVANE_WRONG_ARGUMENT: return "an argument is null, out of range or out of order";
    case SARVANE_OUT_OF_MEMORY: return "there is too little memory";
    case SARVANE_NO_LIBRARY: return "the operator library can't be loaded";
    case SARVANE_NO_SNAPSHOT: return "there is no such snapshot";
    case SARVANE_NOT_RUNNING: return "no run was started, or one has failed";
    case SARVANE_FAILED: return "an operator failed";
    case SARVANE_WRONG_STREAM: return "this is no stored series whose results can be repeated";
    }
    return "this is no status";
}

void SarvaneFreeProblem(SarvaneProblem* problem) { delete static_cast<OwnedProblem*>(problem); }

SarvaneStatus SarvaneOpenLibrary(const char* operatorLibrary, SarvaneLibrary** library, SarvaneProblem** problem) {
    Clear(library);
    Clear(problem);
    if (!library) return SARVANE_WRONG_ARGUMENT;
    return Answer([&] {
        auto loaded = StudyLibrary::Load(operatorLibrary ? operatorLibrary : "");
        if (!loaded) return Refuse(loaded.Fault(), SARVANE_NO_LIBRARY, problem);
        *library = new SarvaneLibrary{.studies = std::move(*loaded)};
        return SARVANE_OK;
    });
}

void SarvaneCloseLibrary(SarvaneLibrary* library) { delete library; }

SarvaneStatus SarvaneDefine(SarvaneLibrary* library, const char* definitions, const char* name,
                            SarvaneProblem** problem) {
    Clear(problem);
    if (!library || !definitions || !name) return SARVANE_WRONG_ARGUMENT;
    return Answer([&] {
        if (auto fault = library->studies->Define(definitions, name)) {
            return Refuse(std::move(*fault), SARVANE_WRONG_TEXT, problem);
        }
        if (!library->definitions.empty()) library->Describe();
        return SARVANE_OK;
    });
}

size_t SarvaneOperatorCount(const SarvaneLibrary* library) {
    return library ? library->studies->Operators().Classes().size() : 0;
}

SarvaneStatus SarvaneGetOperatorInfo(const SarvaneLibrary* library, size_t op, SarvaneOperatorInfo* info) {
    const OperatorClass* const found = FindOperator(library, op);
    if (!found || !info) return SARVANE_WRONG_ARGUMENT;
    *info = {found->keyword.c_str(), found->sentence.c_str(), found->arguments.size(), found->outputs.size(),
             found->keepsSnapshots};
    return SARVANE_OK;
}

SarvaneStatus SarvaneGetArgumentInfo(const SarvaneLibrary* library, size_t op, size_t argument,
                                     SarvaneArgumentInfo* info) {
    const ArgumentInfo* const found = FindArgument(library, op, argument);
    if (!found || !info) return SARVANE_WRONG_ARGUMENT;
    *info = {found->name.c_str(), found->meaning.c_str(), found->standard.c_str(),
             found->least,        found->greatest,        static_cast<SarvaneArgumentKind>(found->kind),
             found->isOptional,   found->canBeBound,      found->words.size()};
    return SARVANE_OK;
}

SarvaneStatus SarvaneGetWordInfo(const SarvaneLibrary* library, size_t op, size_t argument, size_t word,
                                 SarvaneWordInfo* info) {
    const ArgumentInfo* const found = FindArgument(library, op, argument);
    if (!found || word >= found->words.size() || !info) return SARVANE_WRONG_ARGUMENT;
    *info = {found->words[word].text.c_str(), found->words[word].meaning.c_str()};
    return SARVANE_OK;
}

SarvaneStatus SarvaneGetOutputInfo(const SarvaneLibrary* library, size_t op, size_t output, SarvaneOutputInfo* info) {
    const OperatorClass* const found = FindOperator(library, op);
    if (!found || output >= found->outputs.size() || !info) return SARVANE_WRONG_ARGUMENT;
    const OutputInfo& described = found->outputs[output];
    *info = {described.name.c_str(), described.meaning.c_str(), static_cast<SarvaneDrawing>(described.drawing)};
    return SARVANE_OK;
}

SarvaneStatus SarvaneListDefinitions(SarvaneLibrary* library, size_t* count) {
    if (!library || !count) return SARVANE_WRONG_ARGUMENT;
    return Answer([&] {
        library->Describe();
        *count = library->definitions.size();
        return SARVANE_OK;
    });
}

SarvaneStatus SarvaneGetDefinitionInfo(const SarvaneLibrary* library, size_t definition, SarvaneDefinitionInfo* info) {
    if (!library || definition >= library->definitions.size() || !info) return SARVANE_WRONG_ARGUMENT;
    const auto& [found, about] = library->definitions[definition];
    *info = {found->statement.name.c_str(), about.sentence.c_str(), about.group.c_str(),
             about.source.c_str(),          about.choice.c_str(),   about.definition.c_str(),
             found->source->name.c_str(),   about.arguments.size(), about.outputs.size()};
    return SARVANE_OK;
}

SarvaneStatus SarvaneGetDefinitionArgument(const SarvaneLibrary* library, size_t definition, size_t argument,
                                           SarvaneArgumentInfo* info) {
    if (!library || definition >= library->definitions.size() || !info) return SARVANE_WRONG_ARGUMENT;
    const Documentation& about = library->definitions[definition].about;
    if (argument >= about.arguments.size()) return SARVANE_WRONG_ARGUMENT;
    const auto& [name, standard, meaning] = about.arguments[argument];
    constexpr double Most = std::numeric_limits<double>::infinity();
    *info = {name.c_str(), meaning.c_str(), standard.c_str(), -Most, Most, SARVANE_CURVE, !standard.empty(), 1, 0};
    return SARVANE_OK;
}

SarvaneStatus SarvaneGetDefinitionOutput(const SarvaneLibrary* library, size_t definition, size_t output,
                                         SarvaneWordInfo* info) {
    if (!library || definition >= library->definitions.size() || !info) return SARVANE_WRONG_ARGUMENT;
    const Documentation& about = library->definitions[definition].about;
    if (output >= about.outputs.size()) return SARVANE_WRONG_ARGUMENT;
    *info = {about.outputs[output].name.c_str(), about.outputs[output].meaning.c_str()};
    return SARVANE_OK;
}

SarvaneStatus SarvaneCreateStudy(const SarvaneLibrary* library, const char* const* columns, size_t columnCount,
                                 SarvaneStudy** study) {
    Clear(study);
    if (!library || !study || !AreTexts(columns, columnCount)) return SARVANE_WRONG_ARGUMENT;
    return Answer([&] {
        auto compiler = std::make_unique<Compiler>(library->studies, Texts(columns, columnCount));
        const Compilation* const compiled = &compiler->Compiled();
        *study = new SarvaneStudy{std::move(compiler), compiled};
        return SARVANE_OK;
    });
}

SarvaneStatus SarvaneCopyStudy(const SarvaneStudy* study, SarvaneStudy** copy) {
    Clear(copy);
    if (!study || !copy) return SARVANE_WRONG_ARGUMENT;
    return Answer([&] {
        auto compiler = CompiledAgain(*study->compiled);
        if (!compiler) return SARVANE_OUT_OF_MEMORY;  // what could be compiled once lacks only memory
        const Compilation* const compiled = &(*compiler)->Compiled();
        *copy =
            new SarvaneStudy{.compiler = std::move(*compiler), .compiled = compiled, .barSeconds = study->barSeconds};
        return SARVANE_OK;
    });
}

void SarvaneFreeStudy(SarvaneStudy* study) { delete study; }

SarvaneStatus SarvaneSetBarLength(SarvaneStudy* study, double seconds) {
    if (!study || !(seconds >= 0.0)) return SARVANE_WRONG_ARGUMENT;
    study->barSeconds = seconds;
    return SARVANE_OK;
}

SarvaneStatus SarvaneAddExpression(SarvaneStudy* study, const char* expression,
                                   const SarvaneExpressionSettings* settings, SarvaneProblem** problem) {
    Clear(problem);
    if (!study || !study->compiler || !expression) return SARVANE_WRONG_ARGUMENT;
    study->isRunning = false;
    return Answer([&] {
        CompileSettings how = SettingsOf(settings);
        how.barSeconds = study->barSeconds;
        auto fault = study->compiler->Add(expression, how);
        return fault ? Refuse(std::move(*fault), SARVANE_WRONG_TEXT, problem) : SARVANE_OK;
    });
}

size_t SarvaneResultCount(const SarvaneStudy* study) { return study ? study->compiled->results.size() : 0; }

SarvaneStatus SarvaneGetResultInfo(const SarvaneStudy* study, size_t result, SarvaneResultInfo* info) {
    if (!study || result >= study->compiled->results.size() || !info) return SARVANE_WRONG_ARGUMENT;
    const ResultColumn& found = study->compiled->results[result];
    *info = {found.title.c_str(),   found.output.c_str(),
             found.formula.c_str(), found.meaning.c_str(),
             found.expression,      found.lookback,
             found.isLabel,         found.inPriceUnits,
             found.unitKind,        static_cast<SarvaneDrawing>(found.drawing)};
    return SARVANE_OK;
}

SarvaneStatus SarvaneGetStudyInfo(const SarvaneStudy* study, SarvaneStudyInfo* info) {
    if (!study || !info) return SARVANE_WRONG_ARGUMENT;
    const Compilation& compiled = *study->compiled;
    *info = {compiled.columns.size(),
             compiled.depth,
             compiled.lookback,
             compiled.graph.WithoutSnapshots().empty(),
             compiled.graph.Nodes().size(),
             compiled.warnings.size()};
    return SARVANE_OK;
}

int SarvaneReadsColumn(const SarvaneStudy* study, size_t column) {
    int reads = 0;
    Guarded([&] {
        for (const std::size_t used : study ? study->compiled->UsedColumns() : std::vector<std::size_t>()) {
            if (used == column) reads = 1;
        }
        return S_OK;
    });
    return reads;
}

const char* SarvaneGetWarning(const SarvaneStudy* study, size_t warning) {
    if (!study || warning >= study->compiled->warnings.size()) return nullptr;
    return study->compiled->warnings[warning].message.c_str();
}

SarvaneStatus SarvaneGetNodeInfo(const SarvaneStudy* study, size_t node, SarvaneNodeInfo* info) {
    if (!study || node >= study->compiled->graph.Nodes().size() || !info) return SARVANE_WRONG_ARGUMENT;
    const NodeText& found = study->compiled->graph.Nodes()[node];
    *info = {found.text.c_str(), found.uses, found.inputs.data(), found.inputs.size(), found.output, found.outputCount};
    return SARVANE_OK;
}

SarvaneStatus SarvaneReset(SarvaneStudy* study, const SarvaneRunSettings* settings) {
    constexpr int64_t MostBars = std::numeric_limits<int>::max();
    const int64_t barCount = settings ? settings->barCount : -1;
    if (!study || !study->compiler || barCount > MostBars) return SARVANE_WRONG_ARGUMENT;
    study->countsBars = barCount > 0;
    const HRESULT status = Guarded([&] {
        const ColumnSettings run = SettingsOf(settings);
        if (run.priceStep) study->Running().SetPriceStep(*run.priceStep);
        return study->Running().Reset({study->countsBars ? static_cast<int>(barCount - 1) : 0, run.holdsInputs});
    });
    study->isRunning = SUCCEEDED(status);
    return StatusOf(status);
}

SarvaneStatus SarvaneStep(SarvaneStudy* study, int64_t bar, const double* row, double* results) {
    if (!study || !study->compiler || !row || !results) return SARVANE_WRONG_ARGUMENT;
    if (!study->isRunning) return SARVANE_NOT_RUNNING;
    Graph& graph = study->Running();
    const HRESULT status = Guarded([&] { return graph.Step(row, study->countsBars ? static_cast<int>(bar) : 0); });
    study->isRunning = SUCCEEDED(status);
    for (const ResultColumn& result : study->compiled->results) *results++ = graph.Values()[result.place];
    return StatusOf(status);
}

SarvaneStatus SarvaneSave(SarvaneStudy* study, int slot) {
    if (!study || !study->compiler || slot < 1 || slot > std::numeric_limits<short>::max()) {
        return SARVANE_WRONG_ARGUMENT;
    }
    if (!study->isRunning) return SARVANE_NOT_RUNNING;
    return StatusOf(Guarded([&] { return study->Running().Save(static_cast<short>(slot)); }));
}

SarvaneStatus SarvaneRestore(SarvaneStudy* study, int slot) {
    if (!study || !study->compiler || slot < 1 || slot > std::numeric_limits<short>::max()) {
        return SARVANE_WRONG_ARGUMENT;
    }
    const HRESULT status = Guarded([&] { return study->Running().Restore(static_cast<short>(slot)); });
    if (status != S_FALSE) study->isRunning = status == S_OK;
    return StatusOf(status);
}

SarvaneStatus SarvaneRun(SarvaneStudy* study, const SarvaneRunSettings* settings, size_t barCount,
                         const SarvaneInput* inputs, const SarvaneOutput* outputs) {
    if (!study || !study->compiler) return SARVANE_WRONG_ARGUMENT;
    study->countsBars = true;
    study->isRunning = false;
    return Answer([&] {
        const RunColumns columns(*study->compiled, inputs, outputs);
        const HRESULT status = Run(study->compiler->Compiled(), SettingsOf(settings), columns.Over(barCount));
        study->isRunning = status == S_OK;
        return StatusOf(status);
    });
}

SarvaneStatus SarvaneRunMany(const SarvaneStudy* study, const SarvaneRunSettings* settings, SarvaneJob* jobs,
                             size_t jobCount, size_t threadCount) {
    if (!study || (!jobs && jobCount > 0)) return SARVANE_WRONG_ARGUMENT;
    return Answer([&] {
        std::vector<RunColumns> columns;
        std::vector<ColumnRun> runs;
        columns.reserve(jobCount);  // runs point into it
        for (std::size_t i = 0; i < jobCount; ++i) {
            columns.emplace_back(*study->compiled, jobs[i].inputs, jobs[i].outputs);
            runs.push_back(columns.back().Over(jobs[i].barCount));
        }
        std::vector<HRESULT> statuses(jobCount);
        RunMany(*study->compiled, SettingsOf(settings), runs, threadCount, statuses);
        SarvaneStatus first = SARVANE_OK;
        for (std::size_t i = 0; i < jobCount; ++i) {
            jobs[i].status = StatusOf(statuses[i]);
            if (first == SARVANE_OK) first = jobs[i].status;
        }
        return first;
    });
}

SarvaneStatus SarvaneCreateSeries(const SarvaneStudy* study, const SarvaneSeriesSettings* settings,
                                  SarvaneSeries** series) {
    Clear(series);
    if (!study || !series) return SARVANE_WRONG_ARGUMENT;
    return Answer([&] {
        auto compiled = CopyOf(*study->compiled);
        if (!compiled) return SARVANE_OUT_OF_MEMORY;  // what could be compiled once lacks only memory
        SeriesSettings how;
        if (settings) {
            how = {settings->snapshotDistance, settings->mostSnapshots, settings->holdsInputs != 0,
                   PriceStep(settings->priceStep)};
        }
        *series = new SarvaneSeries(std::make_unique<Series>(std::move(*compiled), how));
        return SARVANE_OK;
    });
}

void SarvaneFreeSeries(SarvaneSeries* series) { delete series; }

SarvaneStatus SarvaneAppendBar(SarvaneSeries* series, int64_t time, const double* row) {
    if (!series || !row) return SARVANE_WRONG_ARGUMENT;
    return StatusOf(series->bars->Append(time, RowOf(series, row)));
}

SarvaneStatus SarvaneChangeLastBar(SarvaneSeries* series, const double* row) {
    if (!series || !row) return SARVANE_WRONG_ARGUMENT;
    return StatusOf(series->bars->ChangeLast(RowOf(series, row)));
}

SarvaneStatus SarvaneCorrectBar(SarvaneSeries* series, size_t bar, const double* row) {
    if (!series || !row) return SARVANE_WRONG_ARGUMENT;
    return StatusOf(series->bars->Correct(bar, RowOf(series, row)));
}

SarvaneStatus SarvaneRewriteBars(SarvaneSeries* series, size_t first, size_t count, const int64_t* times,
                                 const double* rows) {
    if (!series || (count > 0 && (!times || !rows))) return SARVANE_WRONG_ARGUMENT;
    return StatusOf(series->bars->Rewrite(first, {times, count}, RowOf(series, rows, count)));
}

SarvaneStatus SarvaneGetSeriesInfo(const SarvaneSeries* series, SarvaneSeriesInfo* info) {
    if (!series || !info) return SARVANE_WRONG_ARGUMENT;
    const Series& bars = *series->bars;
    *info = {bars.BarCount(),      bars.CalculatedCount(),           bars.Compiled().results.size(),
             bars.SnapshotCount(), bars.Settings().snapshotDistance, bars.Bytes()};
    return SARVANE_OK;
}

size_t SarvaneFindBar(const SarvaneSeries* series, int64_t time) { return series ? series->bars->Find(time) : 0; }

SarvaneStatus SarvaneGetTime(const SarvaneSeries* series, size_t bar, int64_t* time) {
    if (!series || bar >= series->bars->BarCount() || !time) return SARVANE_WRONG_ARGUMENT;
    *time = series->bars->Time(bar);
    return SARVANE_OK;
}

SarvaneStatus SarvaneReadResults(const SarvaneSeries* series, size_t first, size_t count, double* results) {
    if (!series || !results) return SARVANE_WRONG_ARGUMENT;
    const std::size_t there = series->bars->CalculatedCount();
    if (first > there || count > there - first) return SARVANE_WRONG_ARGUMENT;
    for (std::size_t bar = first; bar < first + count; ++bar) {
        for (const double result : series->bars->Results(bar)) *results++ = result;
    }
    return SARVANE_OK;
}

size_t SarvaneGetChangedBars(const SarvaneSeries* series, const size_t** bars) {
    if (bars) *bars = series ? series->bars->Changed().data() : nullptr;
    return series ? series->bars->Changed().size() : 0;
}

const SarvaneStudy* SarvaneGetSeriesStudy(const SarvaneSeries* series) { return series ? &series->study : nullptr; }

SarvaneStatus SarvaneWriteSeries(const SarvaneSeries* series, void** bytes, size_t* size) {
    Clear(bytes);
    if (!series || !bytes || !size) return SARVANE_WRONG_ARGUMENT;
    if (series->bars->CalculatedCount() < series->bars->BarCount()) return SARVANE_NOT_RUNNING;
    return Answer([&] {
        const std::string written = WrittenSeries(*series->bars);
        *size = written.size();
        *bytes = std::memcpy(::operator new(written.size()), written.data(), written.size());
        return SARVANE_OK;
    });
}

void SarvaneFreeBytes(void* bytes) { ::operator delete(bytes); }

SarvaneStatus SarvaneReadSeries(const SarvaneLibrary* library, const void* bytes, size_t size, SarvaneSeries** series,
                                SarvaneProblem** problem) {
    Clear(series);
    Clear(problem);
    if (!library || (!bytes && size > 0) || !series) return SARVANE_WRONG_ARGUMENT;
    return Answer([&] {
        auto read = ReadSeries(library->studies, {static_cast<const char*>(bytes), size});
        if (!read) return Refuse(read.Fault(), SARVANE_WRONG_STREAM, problem);
        *series = new SarvaneSeries(std::move(*read));
        return SARVANE_OK;
    });
}

SarvaneStatus SarvaneCreateBars(const char* frame, const char* const* columns, size_t columnCount,
                                const SarvaneBarsSettings* settings, SarvaneBars** bars, SarvaneProblem** problem) {
    Clear(bars);
    Clear(problem);
    if (!frame || !AreTexts(columns, columnCount) || !bars) return SARVANE_WRONG_ARGUMENT;
    return Answer([&] {
        Outcome<Frame> read = Frame::Read(frame);
        if (!read) return Refuse(ProblemIn(read.Fault(), {"", frame}), SARVANE_WRONG_TEXT, problem);
        FrameBarsSettings how = {FrameSource::Bars, false, false};
        if (settings) {
            how = {settings->areTrades ? FrameSource::Trades : FrameSource::Bars, settings->fills != 0,
                   settings->isOpen != 0};
        }
        auto made = FrameBars::Over(std::make_shared<const Frame>(std::move(*read)), Texts(columns, columnCount), how);
        if (!made) return Refuse(made.Fault(), SARVANE_WRONG_TEXT, problem);
        *bars = new SarvaneBars{std::move(*made), std::vector<double>(columnCount)};
        return SARVANE_OK;
    });
}

void SarvaneFreeBars(SarvaneBars* bars) { delete bars; }

SarvaneStatus SarvaneTakeRows(SarvaneBars* bars, size_t count, const int64_t* times, const SarvaneInput* inputs,
                              size_t* first, size_t* end) {
    const size_t width = bars ? bars->row.size() : 0;
    if (!bars || (count > 0 && (!times || (width > 0 && !inputs)))) return SARVANE_WRONG_ARGUMENT;
    for (size_t column = 0; count > 0 && column < width; ++column) {
        if (!inputs[column].first) return SARVANE_WRONG_ARGUMENT;
    }
    BarRange all = {bars->made.Count(), bars->made.Count()};
    const HRESULT status = Guarded([&] {
        for (size_t row = 0; row < count; ++row) {
            for (size_t column = 0; column < width; ++column) {
                bars->row[column] = inputs[column].first[static_cast<ptrdiff_t>(row) * inputs[column].stride];
            }
            BarRange changed;
            const HRESULT taken = bars->made.Take(times[row], bars->row.data(), changed);
            if (FAILED(taken)) return taken;
            all = {std::min(all.first, changed.first), std::max(all.end, changed.end)};
        }
        return static_cast<HRESULT>(S_OK);
    });
    if (first) *first = all.first;
    if (end) *end = std::max(all.end, all.first);
    return StatusOf(status);
}

size_t SarvaneCountBars(const SarvaneBars* bars) { return bars ? bars->made.Count() : 0; }

SarvaneStatus SarvaneReadBars(const SarvaneBars* bars, size_t first, size_t count, int64_t* times,
                              const SarvaneOutput* outputs) {
    if (!bars || (!outputs && !bars->row.empty())) return SARVANE_WRONG_ARGUMENT;
    const size_t there = bars->made.Count();
    if (first > there || count > there - first) return SARVANE_WRONG_ARGUMENT;
    for (size_t i = 0; i < count; ++i) {
        if (times) times[i] = bars->made.Time(first + i);
        for (size_t column = 0; column < bars->row.size(); ++column) {
            if (!outputs[column].first) continue;
            outputs[column].first[static_cast<ptrdiff_t>(i) * outputs[column].stride] =
                bars->made.Value(column, first + i);
        }
    }
    return SARVANE_OK;
}

SarvaneStatus SarvaneReadFrame(const char* text, SarvaneFrame** frame, SarvaneProblem** problem) {
    Clear(frame);
    Clear(problem);
    if (!text || !frame) return SARVANE_WRONG_ARGUMENT;
    return Answer([&] {
        Outcome<Frame> read = Frame::Read(text);
        if (!read) return Refuse(ProblemIn(read.Fault(), {"", text}), SARVANE_WRONG_TEXT, problem);
        if (read->Kind() != FrameKind::Time) {
            const Problem fault = {.length = std::strlen(text),
                                   .message = "only frames of time have a begin by the clock"};
            return Refuse(ProblemIn(fault, {"", text}), SARVANE_WRONG_TEXT, problem);
        }
        *frame = new SarvaneFrame{std::move(*read)};
        return SARVANE_OK;
    });
}

void SarvaneFreeFrame(SarvaneFrame* frame) { delete frame; }

SarvaneStatus SarvaneGetStretch(const SarvaneFrame* frame, int64_t second, int64_t* begin, int64_t* end) {
    constexpr int64_t Farthest = 3000 * INT64_C(31557600);
    if (!frame || !begin || !end || second > Farthest || second < -Farthest) return SARVANE_WRONG_ARGUMENT;
    const Stretch stretch = frame->frame.Around(second);
    *begin = stretch.begin;
    *end = stretch.end;
    return SARVANE_OK;
}

SarvaneStatus SarvaneCompile(const SarvaneLibrary* library, const char* expression, const char* const* columns,
                             size_t columnCount, const SarvaneExpressionSettings* settings, void** op,
                             SarvaneProblem** problem) {
    Clear(op);
    Clear(problem);
    if (!library || !expression || !AreTexts(columns, columnCount) || !op) return SARVANE_WRONG_ARGUMENT;
    return Answer([&] {
        Compiler compiler(library->studies, Texts(columns, columnCount));
        if (auto fault = compiler.Add(expression, SettingsOf(settings))) {
            return Refuse(std::move(*fault), SARVANE_WRONG_TEXT, problem);
        }
        if (compiler.Compiled().expressions.empty()) {
            Problem fault{.length = std::strlen(expression), .message = "this defines functions and gives no value"};
            return Refuse(std::move(fault), SARVANE_WRONG_TEXT, problem);
        }
        *op = static_cast<IZelmorOp*>(new CompiledOperator(compiler.Finish()));
        return SARVANE_OK;
    });
}

int SarvaneLabelText(double value, char text[12]) {
    int isLabel = 0;
    if (text) text[0] = '\0';
    Guarded([&] {
        const auto label = LabelText(value);
        if (!label || !text || label->size() > 11) return S_OK;
        std::memcpy(text, label->c_str(), label->size() + 1);
        isLabel = 1;
        return S_OK;
    });
    return isLabel;
}
}
