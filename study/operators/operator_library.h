#pragma once

#include "platform/operator_module.h"
#include "sarvane/class_info.h"
#include "sarvane/com_ptr.h"

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace sarvane::study {

struct ArgumentWord {
    std::string text;
    std::string meaning;
};

// An argument of an operator, as its class describes it. Arguments are numbered from 0.
struct ArgumentInfo {
    ArgumentKind kind = ArgumentKind::Curve;
    std::string name;
    std::string meaning;
    std::string standard;  // the text that stands for one that is left out; empty if there is none
    double least = 0.0;    // infinite where there is no limit
    double greatest = 0.0;
    bool isOptional = false;  // the operator gives results without it
    bool canBeBound = false;  // a curve may stand in its place
    std::vector<ArgumentWord> words;

    // What it may be, such as "count from 1, or a curve".
    std::string Range() const;
};

std::string_view KindName(ArgumentKind kind);

struct OutputInfo {
    std::string name;
    std::string meaning;
    DrawnAs drawing = DrawnAs::Line;
};

// A class of operators, as it describes itself.
struct OperatorClass {
    GUID id = {};
    std::string keyword;
    std::string name;  // of the class, such as "SimAvgOp"
    std::string sentence;
    std::vector<ArgumentInfo> arguments;
    std::vector<OutputInfo> outputs;
    bool keepsSnapshots = true;     // else restoring takes the last bar back, once, whatever the slot
    bool dropsHigherSlots = false;  // a save gives up the slots above it

    // The place of the argument with a name, in any letter case.
    std::optional<std::size_t> FindArgument(std::string_view wanted) const;
};

// What every operator is told ahead of its arguments. What is not given stays at the operator's default.
struct OperatorSettings {
    int history = 400;               // depth in bars, where an argument does not set it
    std::optional<int> digits = {};  // of precision, for the averages that round
};

// The operators of a loaded library. It does not change once it is made: threads may share it.
class OperatorLibrary {
public:
    static Outcome<OperatorLibrary> Load(const std::string& file = {});

    // Ordered by keyword.
    std::span<const OperatorClass> Classes() const { return classes; }
    // Letter case does not matter. Null if there is none.
    const OperatorClass* Find(std::string_view keyword) const;

    // An operator that has been handed its settings. Some operators set up their parts only when something is handed
    // over.
    Outcome<ComPtr<IZelmorOp>> Create(const OperatorClass& operatorClass, const OperatorSettings& settings) const;

    // Hands over the text of argument `index` in UTF-8. Where the operator refuses it: what it says, or else what the
    // argument must be. Empty if all is well. Throws std::bad_alloc.
    std::string SetArgument(IZelmorOp& op, const OperatorClass& operatorClass, int index, std::string_view text) const;

    // A text that an operator handed out, in UTF-8; the original is freed, also if memory runs out. Null is empty.
    std::string Take(TextSlot text) const;
    // A text in UTF-8 for a host, who frees it as one of an operator's. Null when there is no memory left.
    TextSlot Hand(std::string_view text) const;

private:
    struct Free {
        const OperatorModule* module;
        void operator()(TextSlot text) const { module->Free(text); }
    };
    using HandedText = std::unique_ptr<char16_t, Free>;
    HandedText Own(TextSlot text) const { return HandedText(text, Free{&module}); }

    explicit OperatorLibrary(const OperatorModule& loaded) : module(loaded) {}
    OperatorClass Described(const GUID& id, IZelmorClassInfo& info) const;
    std::optional<Problem> LearnSlots(OperatorClass& operatorClass) const;

    OperatorModule module;
    std::vector<OperatorClass> classes;
};

}  // namespace sarvane::study
