#include "library.h"

#include "failure.h"
#include "language/nearest.h"
#include "path.h"

#include <algorithm>
#include <cerrno>
#include <fmt/ranges.h>
#include <fstream>
#include <new>
#include <sstream>
#include <system_error>

namespace sarvane::study {
namespace {

std::string Suggestion(const std::vector<std::string>& nearest) {
    return nearest.empty() ? std::string() : fmt::format("; nearest: {}", fmt::join(nearest, ", "));
}

std::string ContentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    file.peek();  // the first read, which also fails for a folder
    if (!file.is_open() || file.bad()) Fail("{}: {}", TextOf(path), std::generic_category().message(errno));
    std::ostringstream content;
    if (!file.eof()) content << file.rdbuf();
    return std::move(content).str();
}

}  // namespace

Library::Library(const std::filesystem::path& file, const std::vector<std::filesystem::path>& definitions) {
    Outcome<std::shared_ptr<StudyLibrary>> loaded = StudyLibrary::Load(TextOf(file));
    if (!loaded) FailWith(loaded.Fault(), "");
    for (const std::filesystem::path& path : definitions) {
        const std::string text = ContentOf(path);
        if (const auto problem = (*loaded)->Define(text, TextOf(path))) FailWith(*problem, text);
    }
    studies = std::move(*loaded);
}

const OperatorClass& Library::FindOrFail(std::string_view keyword) const {
    if (const OperatorClass* const found = studies->Operators().Find(keyword)) return *found;
    std::vector<std::string> names;
    for (const OperatorClass& known : Classes()) names.push_back(known.keyword);
    for (const auto& definition : studies->Studies().All()) names.push_back(definition->statement.name);
    Fail("no operator and no study {}{}", Quoted(keyword), Suggestion(NearestWords(keyword, names)));
}

ComPtr<IZelmorOp> Library::Create(const OperatorClass& operatorClass, const OperatorSettings& settings) const {
    Outcome<ComPtr<IZelmorOp>> op = studies->Operators().Create(operatorClass, settings);
    if (!op) FailWith(op.Fault(), "");
    return std::move(*op);
}

std::string Library::SetArgument(IZelmorOp& op, const OperatorClass& operatorClass, int index,
                                 std::string_view text) const {
    return studies->Operators().SetArgument(op, operatorClass, index, text);
}

void FailWith(const Problem& problem, std::string_view text) {
    if (problem.isOutOfMemory) throw std::bad_alloc();
    Fail("{}", ProblemText(problem, text));
}

std::string ProblemText(const Problem& problem, std::string_view text) {
    const std::string what = problem.message + Suggestion(problem.nearest);
    if (text.empty()) return what;
    const std::string_view whole = problem.text.empty() ? text : problem.text;
    const bool isExpression = problem.source.empty() || problem.source.starts_with("expression ");
    if (isExpression) return fmt::format("{}, column {}: {}", Quoted(whole), problem.offset + 1, what);
    const std::string_view before = whole.substr(0, problem.offset);
    const std::size_t lineStart = before.rfind('\n') + 1;  // 0 in the first line
    return fmt::format("{}:{}:{}: {}", problem.source, std::ranges::count(before, '\n') + 1,
                       problem.offset - lineStart + 1, what);
}

HRESULT Checked(HRESULT status) {
    if (status == E_OUTOFMEMORY) throw std::bad_alloc();
    return status;
}

}  // namespace sarvane::study
