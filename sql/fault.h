#pragma once

#include "study_call.h"

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// What the C++ sources of the extensions share beneath the C functions.
namespace sarvane::sql {

struct StudyCloser {
    void operator()(SarvaneStudy* study) const { SarvaneFreeStudy(study); }
};
using StudyHandle = std::unique_ptr<SarvaneStudy, StudyCloser>;

// Copies a text to a buffer of a fault. What does not fit is replaced by "...".
void CopyText(std::span<char> to, std::string_view text);

// Fills a fault from what the study library answered, and frees the problem, which may be null.
void SetProblem(SqlFault* fault, SarvaneStatus status, SarvaneProblem* problem);

// Whether names differ in nothing but the case of letters of ASCII.
bool AreSameName(std::string_view a, std::string_view b);

// Whether each column has a name of its own; if not, there is a fault.
bool AreClear(const std::vector<std::string>& names, SqlFault* fault);

// Whether a study stays below the limits; if not, there is a fault.
bool IsWithin(const SarvaneStudy* study, const SqlLimits& limits, SqlFault* fault);

// A study without expressions, or null.
inline StudyHandle CreateStudy(const SarvaneLibrary* library, const std::vector<std::string>& columns,
                               SqlFault* fault) {
    std::vector<const char*> names;
    for (const std::string& column : columns) names.push_back(column.c_str());
    SarvaneStudy* study = nullptr;
    const SarvaneStatus status = SarvaneCreateStudy(library, names.data(), names.size(), &study);
    if (status != SARVANE_OK) SetFault(fault, status);
    return StudyHandle(study);
}

// What a call answers; null or false, with a fault, if memory runs out.
template <class Call>
auto Answer(SqlFault* fault, Call call) noexcept -> decltype(call()) {
    try {
        return call();
    } catch (...) {
        SetFault(fault, SARVANE_OUT_OF_MEMORY);
        return {};
    }
}

}  // namespace sarvane::sql
