#pragma once

#include "compilation.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace sarvane::study {

// The loaded operators and the studies defined on them. What goes wrong is a Failure, or std::bad_alloc where memory has
// run out.
class Library {
public:
    // Without a path, the operator library that lies beside the program or in the system's library folders. `definitions`
    // are files of studies, which add to the standard ones.
    explicit Library(const std::filesystem::path& file = {},
                     const std::vector<std::filesystem::path>& definitions = {});

    const std::shared_ptr<const StudyLibrary>& Studies() const { return studies; }
    // Ordered by keyword.
    std::span<const OperatorClass> Classes() const { return studies->Operators().Classes(); }
    // Letter case does not matter. A failure names the nearest known ones.
    const OperatorClass& FindOrFail(std::string_view keyword) const;
    // An operator that has been handed its settings.
    ComPtr<IZelmorOp> Create(const OperatorClass& operatorClass, const OperatorSettings& settings = {}) const;
    // Hands over the text of an argument. Where the operator refuses it: why. Empty if all is well.
    std::string SetArgument(IZelmorOp& op, const OperatorClass& operatorClass, int index, std::string_view text) const;
    // Turns a text that an operator handed out into UTF-8 and frees it. Null is empty.
    std::string Take(TextSlot text) const { return studies->Operators().Take(text); }

private:
    std::shared_ptr<const StudyLibrary> studies;
};

// Fails with what is wrong with `text`.
[[noreturn]] void FailWith(const Problem& problem, std::string_view text);

// What is wrong with `text`, and where, in one line.
std::string ProblemText(const Problem& problem, std::string_view text);

// `status`, or std::bad_alloc if it says that memory has run out.
HRESULT Checked(HRESULT status);

}  // namespace sarvane::study
