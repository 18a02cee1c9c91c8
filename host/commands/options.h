#pragma once

#include "alerts.h"
#include "study.h"
#include "table/table_output.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <limits>
#include <nlohmann/json_fwd.hpp>
#include <span>
#include <string>
#include <vector>

// What several commands share: groups of options, and how their values are checked and used.
namespace sarvane::study {

inline constexpr std::string_view WholeBars[] = {"open", "high", "low", "close", "volume"};

// The operator library and the files that add studies to it.
struct LibraryOptions {
    const std::string& file;  // empty for the library beside this program
    std::vector<std::string> definitions = {};

    Library Load() const;
};

// A file of bars, the expressions that run over it, and how they run.
struct StudyOptions {
    LibraryOptions library;
    std::string barFile = {};
    std::vector<std::string> expressions = {};
    ReadSettings reading = {};
    RunSettings run = {};
    std::optional<int> settled = {};  // digits; values with fewer are blanked

    // Of the columns, those that the expressions read, and those with these standard names (column_names.h) that hold
    // numbers.
    BarFile ReadBars(const Library& loaded, std::span<const std::string_view> besides = {}) const;
    // Adds the expressions to `study` and tells the user what is odd about them.
    void AddTo(Study& study, bool allOutputs) const;
    // Leaves out values at the start that `settled` asks to blank. Gives what the user should know of values from bar
    // `firstShown` on that depend on where the data start.
    std::vector<StartNotice> Settle(const Library& loaded, const BarFile& bars, Study& study, bool allOutputs,
                                    std::size_t firstShown = 0) const;
    // What a command that reads these must not write over.
    std::vector<std::filesystem::path> FilesRead() const;
};

void AddDefinitions(CLI::App& command, LibraryOptions& options);
void AddOperatorSettings(CLI::App& command, OperatorSettings& settings);
void AddRunSettings(CLI::App& command, RunSettings& settings);
void AddStudy(CLI::App& command, StudyOptions& options);
void AddSettled(CLI::App& command, StudyOptions& options);
// How the lines of a file are read, for commands that read the whole of it.
void AddReading(CLI::App& command, ReadSettings& settings);
// The frame that its bars are made into.
void AddFrame(CLI::App& command, FrameSettings& settings);
// How its lines are laid out.
void AddLayout(CLI::App& command, LayoutSettings& settings);
// What happens when conditions hold on the newest bar of a followed file. Gives the option that all others need.
CLI::Option* AddAlerts(CLI::App& command, AlertSettings& alerts);
void AddTable(CLI::App& command, TableOptions& options);

// For options that take a whole number.
CLI::Validator WholeNumber(long long least, long long most = std::numeric_limits<long long>::max());
// For options that take a number above 0.
CLI::Validator AboveZero();
// For options that take 0 or a number above it.
CLI::Validator ZeroOrAbove();
// The option takes one of these words.
void OneOf(CLI::Option& option, const std::vector<std::string>& words);

void TellAll(const std::vector<std::string>& lines);
// In ASCII: what `Print` would escape is escaped as JSON has it.
std::string JsonText(const nlohmann::ordered_json& json);

}  // namespace sarvane::study
