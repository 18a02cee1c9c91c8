#include "library.h"

#include "failure.h"
#include "language/nearest.h"
#include "path.h"

#include <fmt/ranges.h>
#include <new>

namespace sarvane::study {
namespace {

std::string Suggestion(const std::vector<std::string>& nearest) {
    return nearest.empty() ? std::string() : fmt::format("; nearest: {}", fmt::join(nearest, ", "));
}

}  // namespace

Library::Library(const std::filesystem::path& file) {
    Outcome<std::shared_ptr<StudyLibrary>> loaded = StudyLibrary::Load(TextOf(file));
    if (!loaded) FailWith(loaded.Fault(), "");
    studies = std::move(*loaded);
}

const OperatorClass& Library::FindOrFail(std::string_view keyword) const {
    if (const OperatorClass* const found = studies->Operators().Find(keyword)) return *found;
    std::vector<std::string> keywords;
    for (const OperatorClass& known : Classes()) keywords.push_back(known.keyword);
    Fail("no operator {}{}", Quoted(keyword), Suggestion(NearestWords(keyword, keywords)));
}

ComPtr<IZelmorOp> Library::Create(const OperatorClass& operatorClass, const OperatorSettings& settings) const {
    Outcome<ComPtr<IZelmorOp>> op = studies->Operators().Create(operatorClass, settings);
    if (!op) FailWith(op.Fault(), "");
    return std::move(*op);
}

std::string Library::SetArgument(IZelmorOp& op, int index, std::string_view text) const {
    return studies->Operators().SetArgument(op, index, text);
}

void FailWith(const Problem& problem, std::string_view text) {
    if (problem.isOutOfMemory) throw std::bad_alloc();
    Fail("{}", ProblemText(problem, text));
}

std::string ProblemText(const Problem& problem, std::string_view text) {
    const std::string what = problem.message + Suggestion(problem.nearest);
    if (text.empty()) return what;
    const bool isElsewhere = problem.source.ends_with(".study");
    return isElsewhere ? fmt::format("{}, byte {}: {}", problem.source, problem.offset + 1, what)
                       : fmt::format("{}, column {}: {}", Quoted(text), problem.offset + 1, what);
}

HRESULT Checked(HRESULT status) {
    if (status == E_OUTOFMEMORY) throw std::bad_alloc();
    return status;
}

}  // namespace sarvane::study
