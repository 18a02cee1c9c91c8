#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

// What the program answers to a command line that it can't follow.
namespace sarvane::study {

enum ExitStatus : int {
    Done = 0,
    BadData = 1,  // a file, an expression, or what the system says
    BadUsage = 2,
    CheckFailed = 3,
    ReaderGone = 141,  // what a shell shows of a program that its broken pipe has ended
};
inline constexpr std::string_view ExitStatusText =
    "0 done, 1 bad data or expressions, 2 bad usage, 3 a failed check, 141 nobody reads the output any more";

// A word that looks like several options in one, such as the expression "-open", which would be `-o pen`. Throws a
// ParseError for the first such word ahead of `--`.
void RefuseMistakenOptions(const CLI::App& app, const std::vector<std::string>& words);

// What is wrong with the words, in one line, with the nearest of what is known.
std::string UsageMessage(const CLI::App& app, const CLI::ParseError& error);

// The answer to a command that there is not.
std::string UnknownCommand(const CLI::App& app, const std::string& word);

// The command that the words begin with, or null.
const CLI::App* CommandOf(const CLI::App& app, const std::vector<std::string>& words);

// The option with this name, such as "--last", or null.
const CLI::Option* FindOption(const CLI::App& command, std::string_view name);
bool TakesValue(const CLI::Option& option);
// All names of the command's options, and those of its commands.
std::vector<std::string> OptionNames(const CLI::App& command);
std::vector<std::string> CommandNames(const CLI::App& app);

// Makes help lines no longer than a terminal of 80 characters.
class HelpFormatter : public CLI::Formatter {
public:
    HelpFormatter();
    std::string make_option(const CLI::Option* option, bool isPositional) const override;
    std::string make_option_opts(const CLI::Option* option) const override;
    std::string make_subcommand(const CLI::App* command) const override;
};

}  // namespace sarvane::study
