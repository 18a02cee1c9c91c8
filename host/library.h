#pragma once

#include "platform/operator_module.h"
#include "sarvane/com_ptr.h"
#include "sarvane/operator.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sarvane::study {

// A class of operators as the registry tells of it.
struct OperatorClass {
    std::string keyword;
    std::string name;
    std::string id;  // in braces
    GUID guid;
};

// What every operator is told ahead of its arguments. What is not given stays at the operator's default.
struct OperatorSettings {
    int history = 400;               // depth in bars, where an argument does not set it
    std::optional<int> digits = {};  // of precision, for the averages that round
};

// The operators of a loaded library.
class Library {
public:
    // Without a path, the one beside the program or in the system's library folders.
    explicit Library(const std::filesystem::path& file = {});

    // Ordered by keyword.
    const std::vector<OperatorClass>& Classes() const { return classes; }
    // Letter case does not matter. Null if there is none.
    const OperatorClass* Find(std::string_view keyword) const;
    // The same, or a failure that names the nearest known ones.
    const OperatorClass& FindOrFail(std::string_view keyword) const;
    // The known keywords that look most like `keyword`, at most three.
    std::vector<std::string> Nearest(std::string_view keyword) const;

    // An operator that has been handed its settings. Some set up their parts only when something is handed over.
    ComPtr<IZelmorOp> Create(const OperatorClass& operatorClass, const OperatorSettings& settings = {}) const;

    // Hands over the text of an argument. An operator that refuses it gives a message, else there is none.
    std::string SetArgument(IZelmorOp& op, int index, std::string_view text) const;

    // Turns a text that an operator handed out into UTF-8 and frees it. Null is empty.
    std::string Take(TextSlot text) const;

private:
    std::string ReadValue(const std::string& key) const;

    OperatorModule module;
    std::vector<OperatorClass> classes;
};

std::u16string Utf16(std::string_view utf8);
bool EqualIgnoringCase(std::string_view a, std::string_view b);

}  // namespace sarvane::study
