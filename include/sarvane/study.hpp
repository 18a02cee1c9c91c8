#pragma once

// The study library for C++: the functions of study.h as classes that free what they hold. What each call means, takes
// and gives is told there; here is what differs. A call that fails throws StudyError, or std::bad_alloc where memory has
// run out. Objects can be moved, but not copied. A host that must not throw uses study.h.

#include "sarvane/com_ptr.h"
#include "sarvane/operator.h"
#include "sarvane/study.h"

#include <memory>
#include <new>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sarvane {

// Why a call failed. `what()` says it for people.
class StudyError : public std::runtime_error {
public:
    // Takes over the problem, which may be null.
    StudyError(SarvaneStatus failed, SarvaneProblem* problem)
        : std::runtime_error(problem ? problem->message : SarvaneStatusText(failed)), status(failed) {
        if (!problem) return;
        offset = problem->offset;
        length = problem->length;
        source = problem->source;
        text = problem->text;
        nearest.assign(problem->nearest, problem->nearest + problem->nearestCount);
    }

    SarvaneStatus status;
    std::size_t offset = 0;            // of the faulty part, in bytes from the start of the text
    std::size_t length = 0;            // in bytes
    std::string source;                // the text's name; empty for the first expression of a study
    std::string text;                  // the whole text that the place lies in
    std::vector<std::string> nearest;  // known words that look like an unknown one, best first
};

namespace study_detail {

template <auto FreeIt>
struct Freer {
    template <class Handle>
    void operator()(Handle* handle) const {
        FreeIt(handle);
    }
};

inline void Check(SarvaneStatus status, SarvaneProblem* problem = nullptr) {
    const std::unique_ptr<SarvaneProblem, Freer<SarvaneFreeProblem>> freed(problem);
    if (status == SARVANE_OUT_OF_MEMORY) throw std::bad_alloc();
    if (status != SARVANE_OK) throw StudyError(status, problem);
}

// What a function puts into its structure.
template <class Info, class Call>
Info Filled(Call call) {
    Info info{};
    Check(call(&info));
    return info;
}

inline std::vector<const char*> Texts(std::span<const std::string> texts) {
    std::vector<const char*> pointers;
    for (const std::string& text : texts) pointers.push_back(text.c_str());
    return pointers;
}

}  // namespace study_detail

using ExpressionSettings = SarvaneExpressionSettings;
inline constexpr ExpressionSettings DefaultExpressionSettings = SARVANE_EXPRESSION_SETTINGS;
using RunSettings = SarvaneRunSettings;
inline constexpr RunSettings DefaultRunSettings = SARVANE_RUN_SETTINGS;
using SeriesSettings = SarvaneSeriesSettings;
inline constexpr SeriesSettings DefaultSeriesSettings = SARVANE_SERIES_SETTINGS;

// The operators, and the studies defined on them.
class StudyLibrary {
public:
    explicit StudyLibrary(const std::string& operatorLibrary = {}) {
        SarvaneLibrary* opened = nullptr;
        SarvaneProblem* problem = nullptr;
        const char* const file = operatorLibrary.empty() ? nullptr : operatorLibrary.c_str();
        const SarvaneStatus status = SarvaneOpenLibrary(file, &opened, &problem);
        handle.reset(opened);
        study_detail::Check(status, problem);
    }

    void Define(const std::string& definitions, const std::string& name) {
        SarvaneProblem* problem = nullptr;
        const SarvaneStatus status = SarvaneDefine(handle.get(), definitions.c_str(), name.c_str(), &problem);
        study_detail::Check(status, problem);
    }

    std::size_t OperatorCount() const { return SarvaneOperatorCount(handle.get()); }
    SarvaneOperatorInfo Operator(std::size_t op) const {
        return study_detail::Filled<SarvaneOperatorInfo>(
            [&](auto* info) { return SarvaneGetOperatorInfo(handle.get(), op, info); });
    }
    SarvaneArgumentInfo Argument(std::size_t op, std::size_t argument) const {
        return study_detail::Filled<SarvaneArgumentInfo>(
            [&](auto* info) { return SarvaneGetArgumentInfo(handle.get(), op, argument, info); });
    }
    SarvaneWordInfo Word(std::size_t op, std::size_t argument, std::size_t word) const {
        return study_detail::Filled<SarvaneWordInfo>(
            [&](auto* info) { return SarvaneGetWordInfo(handle.get(), op, argument, word, info); });
    }
    SarvaneOutputInfo Output(std::size_t op, std::size_t output) const {
        return study_detail::Filled<SarvaneOutputInfo>(
            [&](auto* info) { return SarvaneGetOutputInfo(handle.get(), op, output, info); });
    }

    // Counts the studies that are defined, and describes them for the calls below.
    std::size_t ListDefinitions() {
        return study_detail::Filled<std::size_t>(
            [&](auto* count) { return SarvaneListDefinitions(handle.get(), count); });
    }
    SarvaneDefinitionInfo Definition(std::size_t definition) const {
        return study_detail::Filled<SarvaneDefinitionInfo>(
            [&](auto* info) { return SarvaneGetDefinitionInfo(handle.get(), definition, info); });
    }
    SarvaneArgumentInfo DefinitionArgument(std::size_t definition, std::size_t argument) const {
        return study_detail::Filled<SarvaneArgumentInfo>(
            [&](auto* info) { return SarvaneGetDefinitionArgument(handle.get(), definition, argument, info); });
    }
    SarvaneWordInfo DefinitionOutput(std::size_t definition, std::size_t output) const {
        return study_detail::Filled<SarvaneWordInfo>(
            [&](auto* info) { return SarvaneGetDefinitionOutput(handle.get(), definition, output, info); });
    }

    // One expression as an operator.
    ComPtr<IZelmorOp> Compile(const std::string& expression, std::span<const std::string> columns,
                              const ExpressionSettings& settings = DefaultExpressionSettings) const {
        ComPtr<IZelmorOp> op;
        SarvaneProblem* problem = nullptr;
        const SarvaneStatus status =
            SarvaneCompile(handle.get(), expression.c_str(), study_detail::Texts(columns).data(), columns.size(),
                           &settings, op.Slot(), &problem);
        study_detail::Check(status, problem);
        return op;
    }

    // For calls of study.h.
    SarvaneLibrary* Get() const { return handle.get(); }

private:
    std::unique_ptr<SarvaneLibrary, study_detail::Freer<SarvaneCloseLibrary>> handle;
};

// What a study, or the study of a series, tells of itself.
class StudyView {
public:
    explicit StudyView(const SarvaneStudy* viewed) : study(viewed) {}

    std::size_t ResultCount() const { return SarvaneResultCount(study); }
    SarvaneResultInfo Result(std::size_t result) const {
        return study_detail::Filled<SarvaneResultInfo>(
            [&](auto* info) { return SarvaneGetResultInfo(study, result, info); });
    }
    SarvaneStudyInfo Info() const {
        return study_detail::Filled<SarvaneStudyInfo>([&](auto* info) { return SarvaneGetStudyInfo(study, info); });
    }
    SarvaneNodeInfo Node(std::size_t node) const {
        return study_detail::Filled<SarvaneNodeInfo>([&](auto* info) { return SarvaneGetNodeInfo(study, node, info); });
    }
    bool ReadsColumn(std::size_t column) const { return SarvaneReadsColumn(study, column) != 0; }
    std::vector<std::string> Warnings() const {
        std::vector<std::string> warnings;
        while (const char* const warning = SarvaneGetWarning(study, warnings.size())) warnings.emplace_back(warning);
        return warnings;
    }

    // For calls of study.h.
    const SarvaneStudy* Get() const { return study; }

private:
    const SarvaneStudy* study;
};

// Expressions compiled over columns of data, and their run.
class Study {
public:
    Study(const StudyLibrary& library, std::span<const std::string> columns) {
        SarvaneStudy* created = nullptr;
        study_detail::Check(
            SarvaneCreateStudy(library.Get(), study_detail::Texts(columns).data(), columns.size(), &created));
        handle.reset(created);
    }
    Study(const StudyLibrary& library, std::initializer_list<std::string> columns)
        : Study(library, std::span(columns.begin(), columns.size())) {}

    // The same expressions, without a run.
    Study Copy() const {
        SarvaneStudy* copy = nullptr;
        study_detail::Check(SarvaneCopyStudy(handle.get(), &copy));
        return Study(copy);
    }

    void Add(const std::string& expression, const ExpressionSettings& settings = DefaultExpressionSettings) {
        SarvaneProblem* problem = nullptr;
        const SarvaneStatus status = SarvaneAddExpression(handle.get(), expression.c_str(), &settings, &problem);
        study_detail::Check(status, problem);
    }

    StudyView View() const { return StudyView(handle.get()); }

    void Reset(const RunSettings& settings = DefaultRunSettings) {
        study_detail::Check(SarvaneReset(handle.get(), &settings));
    }
    // `row` has a value for each column, `results` room for each result.
    void Step(std::int64_t bar, std::span<const double> row, std::span<double> results) {
        study_detail::Check(row.size() >= View().Info().columnCount && results.size() >= View().ResultCount()
                                ? SarvaneStep(handle.get(), bar, row.data(), results.data())
                                : SARVANE_WRONG_ARGUMENT);
    }
    void Save(int slot) { study_detail::Check(SarvaneSave(handle.get(), slot)); }
    void Restore(int slot) { study_detail::Check(SarvaneRestore(handle.get(), slot)); }

    // Whole columns: an input for each column, an output for each result.
    void Run(std::size_t barCount, std::span<const SarvaneInput> inputs, std::span<const SarvaneOutput> outputs,
             const RunSettings& settings = DefaultRunSettings) {
        const bool fits = inputs.size() >= View().Info().columnCount && outputs.size() >= View().ResultCount();
        study_detail::Check(fits ? SarvaneRun(handle.get(), &settings, barCount, inputs.data(), outputs.data())
                                 : SARVANE_WRONG_ARGUMENT);
    }
    // Independent runs in several threads. Each job tells its status.
    void RunMany(std::span<SarvaneJob> jobs, std::size_t threadCount = 0,
                 const RunSettings& settings = DefaultRunSettings) const {
        study_detail::Check(SarvaneRunMany(handle.get(), &settings, jobs.data(), jobs.size(), threadCount));
    }

private:
    explicit Study(SarvaneStudy* taken) : handle(taken) {}

    std::unique_ptr<SarvaneStudy, study_detail::Freer<SarvaneFreeStudy>> handle;
};

// Bars that are appended, tick and are corrected, under the expressions of a study.
class Series {
public:
    explicit Series(const Study& study, const SeriesSettings& settings = DefaultSeriesSettings) {
        SarvaneSeries* created = nullptr;
        study_detail::Check(SarvaneCreateSeries(study.View().Get(), &settings, &created));
        handle.reset(created);
    }
    // The series that `bytes` hold.
    Series(const StudyLibrary& library, std::string_view bytes) {
        SarvaneSeries* read = nullptr;
        SarvaneProblem* problem = nullptr;
        const SarvaneStatus status = SarvaneReadSeries(library.Get(), bytes.data(), bytes.size(), &read, &problem);
        handle.reset(read);
        study_detail::Check(status, problem);
    }
    std::string Bytes() const {
        void* bytes = nullptr;
        std::size_t size = 0;
        study_detail::Check(SarvaneWriteSeries(handle.get(), &bytes, &size));
        const std::unique_ptr<void, study_detail::Freer<SarvaneFreeBytes>> freed(bytes);
        return std::string(static_cast<const char*>(bytes), size);
    }

    void Append(std::int64_t time, std::span<const double> row) {
        study_detail::Check(IsRow(row) ? SarvaneAppendBar(handle.get(), time, row.data()) : SARVANE_WRONG_ARGUMENT);
    }
    void ChangeLast(std::span<const double> row) {
        study_detail::Check(IsRow(row) ? SarvaneChangeLastBar(handle.get(), row.data()) : SARVANE_WRONG_ARGUMENT);
    }
    void Correct(std::size_t bar, std::span<const double> row) {
        study_detail::Check(IsRow(row) ? SarvaneCorrectBar(handle.get(), bar, row.data()) : SARVANE_WRONG_ARGUMENT);
    }
    void Rewrite(std::size_t first, std::span<const std::int64_t> times, std::span<const double> rows) {
        const bool fits = rows.size() == times.size() * View().Info().columnCount;
        study_detail::Check(fits ? SarvaneRewriteBars(handle.get(), first, times.size(), times.data(), rows.data())
                                 : SARVANE_WRONG_ARGUMENT);
    }

    SarvaneSeriesInfo Info() const {
        return study_detail::Filled<SarvaneSeriesInfo>(
            [&](auto* info) { return SarvaneGetSeriesInfo(handle.get(), info); });
    }
    StudyView View() const { return StudyView(SarvaneGetSeriesStudy(handle.get())); }
    std::optional<std::size_t> Find(std::int64_t time) const {
        const std::size_t bar = SarvaneFindBar(handle.get(), time);
        return bar < Info().barCount ? std::optional(bar) : std::nullopt;
    }
    std::int64_t Time(std::size_t bar) const {
        return study_detail::Filled<std::int64_t>([&](auto* time) { return SarvaneGetTime(handle.get(), bar, time); });
    }
    // The results of `count` bars from `first` on, all those of a bar behind each other.
    std::vector<double> Results(std::size_t first, std::size_t count) const {
        const SarvaneSeriesInfo info = Info();
        const bool exist = first <= info.calculatedCount && count <= info.calculatedCount - first;
        std::vector<double> results(exist ? count * info.resultCount : 0);
        if (!exist) study_detail::Check(SARVANE_WRONG_ARGUMENT);
        if (!results.empty()) study_detail::Check(SarvaneReadResults(handle.get(), first, count, results.data()));
        return results;
    }
    // The bars that got other results by the last call that changed bars.
    std::span<const std::size_t> Changed() const {
        const std::size_t* bars = nullptr;
        const std::size_t count = SarvaneGetChangedBars(handle.get(), &bars);
        return {bars, count};
    }

private:
    bool IsRow(std::span<const double> row) const { return row.size() == View().Info().columnCount; }

    std::unique_ptr<SarvaneSeries, study_detail::Freer<SarvaneFreeSeries>> handle;
};

// The text of a packed label, or nothing for a value that is none.
inline std::optional<std::string> StudyLabelText(double value) {
    char text[12];
    return SarvaneLabelText(value, text) ? std::optional<std::string>(text) : std::nullopt;
}

}  // namespace sarvane
