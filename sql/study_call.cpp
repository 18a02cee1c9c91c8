#include "study_call.h"

#include "fault.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace sarvane::sql {

void CopyText(std::span<char> to, std::string_view text) {
    std::size_t length = text.size();
    constexpr std::string_view Rest = "...";
    if (length >= to.size()) {
        length = to.size() - 1 - Rest.size();
        const auto isInsideCharacter = [&] { return (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80; };
        while (length > 0 && isInsideCharacter()) --length;
    }
    char* end = std::copy_n(text.begin(), length, to.data());
    if (length < text.size()) end = std::copy(Rest.begin(), Rest.end(), end);
    *end = '\0';
}

namespace {

std::string_view View(SqlText text) { return {text.first ? text.first : "", text.length}; }

std::string_view Trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\n\r");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\n\r") - first + 1);
}

// The names in a list of columns, or none of them with a fault.
std::vector<std::string> ColumnNames(std::string_view list, std::size_t valueCount, SqlFault* fault) {
    constexpr std::size_t MostColumns = 1000;
    const std::size_t count = static_cast<std::size_t>(std::ranges::count(list, ',')) + 1;
    if (count != valueCount) {
        SetFaultMessage(fault, "%zu columns are named, and %zu values are given", count, valueCount);
        return {};
    }
    if (count > MostColumns) {
        SetFaultMessage(fault, "%zu columns are more than the %zu allowed", count, MostColumns);
        return {};
    }
    std::vector<std::string> names;
    while (names.size() < count) {
        const std::size_t end = std::min(list.find(','), list.size());
        names.emplace_back(Trimmed(list.substr(0, end)));
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return AreClear(names, fault) ? names : std::vector<std::string>();
}

bool Add(SarvaneStudy* study, std::string_view expression, bool allOutputs, const SqlLimits& limits, SqlFault* fault) {
    if (expression.size() > limits.expressionBytes) {
        SetFaultMessage(fault, "the expression has %zu bytes, more than the %zu allowed", expression.size(),
                        limits.expressionBytes);
        return false;
    }
    if (expression.find('\0') != std::string_view::npos) {
        SetFaultMessage(fault, "the expression has a zero byte in it");
        return false;
    }
    const SarvaneExpressionSettings settings = {SARVANE_UNSET, SARVANE_UNSET, allOutputs};
    const std::size_t before = SarvaneResultCount(study);
    SarvaneProblem* problem = nullptr;
    const SarvaneStatus status = SarvaneAddExpression(study, std::string(expression).c_str(), &settings, &problem);
    if (status != SARVANE_OK) {
        SetProblem(fault, status, problem);
        return false;
    }
    if (SarvaneResultCount(study) == before) {
        SetFaultMessage(fault, "the expression defines functions and gives no value");
        return false;
    }
    return IsWithin(study, limits, fault);
}

}  // namespace

bool AreSameName(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
    return std::ranges::equal(a, b, {}, lower, lower);
}

bool AreClear(const std::vector<std::string>& names, SqlFault* fault) {
    for (auto name = names.begin(); name != names.end(); ++name) {
        const auto isSame = [&](const std::string& other) { return AreSameName(*name, other); };
        if (!name->empty() && std::none_of(names.begin(), name, isSame)) continue;
        SetFaultMessage(fault, name->empty() ? "a column has no name" : "two columns have the same name");
        CopyText(fault->detail, *name);
        return false;
    }
    return true;
}

bool IsWithin(const SarvaneStudy* study, const SqlLimits& limits, SqlFault* fault) {
    SarvaneStudyInfo info = {};
    SarvaneGetStudyInfo(study, &info);
    if (info.lookback <= limits.lookback) return true;
    SetFaultMessage(fault, "the expression looks back %zu bars, more than the %zu allowed", info.lookback,
                    limits.lookback);
    return false;
}

void SetProblem(SqlFault* fault, SarvaneStatus status, SarvaneProblem* problem) {
    constexpr auto Close = [](SarvaneProblem* owned) { SarvaneFreeProblem(owned); };
    const std::unique_ptr<SarvaneProblem, decltype(Close)> owned(problem);
    SetFault(fault, status);
    if (!problem) return;
    CopyText(fault->message, problem->message);
    const std::string_view text = problem->text;
    if (!text.empty()) {
        const std::string part(text.substr(std::min(problem->offset, text.size()), problem->length));
        CopyText(fault->detail,
                 part.empty() ? "at the expression's end" : "at byte " + std::to_string(problem->offset) + ": " + part);
    }
    std::string nearest;
    for (std::size_t i = 0; i < problem->nearestCount; ++i) {
        nearest += (i == 0 ? "nearest: " : ", ") + std::string(problem->nearest[i]);
    }
    CopyText(fault->hint, nearest);
}

}  // namespace sarvane::sql

using namespace sarvane::sql;

extern "C" {

void SetFault(SqlFault* fault, SarvaneStatus status) {
    *fault = {};
    fault->status = status;
    CopyText(fault->message, SarvaneStatusText(status));
}

void SetFaultMessage(SqlFault* fault, const char* format, ...) {
    *fault = {};
    fault->status = SARVANE_WRONG_ARGUMENT;
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(fault->message, sizeof fault->message, format, arguments);
    va_end(arguments);
}

SarvaneLibrary* OpenStudyLibrary(SqlFault* fault) {
    return Answer(fault, [&] {
        SarvaneLibrary* library = nullptr;
        SarvaneProblem* problem = nullptr;
        const SarvaneStatus status = SarvaneOpenLibrary(nullptr, &library, &problem);
        if (status != SARVANE_OK) SetProblem(fault, status, problem);
        return library;
    });
}

const char* BarColumns(size_t valueCount) {
    switch (valueCount) {
    case 1: return "close";
    case 4: return "open,high,low,close";
    case 5: return "open,high,low,close,volume";
    default: return nullptr;
    }
}

SarvaneStudy* CompileStudy(const SarvaneLibrary* library, SqlText expression, SqlText columns, size_t valueCount,
                           const SqlLimits* limits, SqlFault* fault) {
    return Answer(fault, [&]() -> SarvaneStudy* {
        const std::vector<std::string> names = ColumnNames(View(columns), valueCount, fault);
        if (names.empty()) return nullptr;
        StudyHandle study = CreateStudy(library, names, fault);
        return study && Add(study.get(), View(expression), false, *limits, fault) ? study.release() : nullptr;
    });
}

int AddExpressionWithin(SarvaneStudy* study, SqlText expression, int allOutputs, const SqlLimits* limits,
                        SqlFault* fault) {
    return Answer(fault, [&] { return Add(study, View(expression), allOutputs != 0, *limits, fault); });
}

int GivesLabels(const SarvaneStudy* study, SqlFault* fault) {
    SarvaneResultInfo info = {};
    SarvaneGetResultInfo(study, 0, &info);
    if (!info.isLabel) SetFaultMessage(fault, "the expression gives numbers, not labels");
    return info.isLabel;
}
}
