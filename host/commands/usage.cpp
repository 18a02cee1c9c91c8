#include "commands/usage.h"

#include "failure.h"
#include "language/nearest.h"

#include <algorithm>
#include <cctype>
#include <fmt/ranges.h>
#include <sstream>

namespace sarvane::study {
namespace {

constexpr std::size_t LineLength = 80, NameLength = 26;

std::string Nearest(std::string_view word, const std::vector<std::string>& known) {
    const std::vector<std::string> nearest = NearestWords(word, known);
    return nearest.empty() ? std::string() : fmt::format("; nearest: {}", fmt::join(nearest, ", "));
}

bool LooksLikeOption(std::string_view word) { return word.size() > 1 && word.front() == '-'; }

// With one dash an option has one letter.
bool IsMistaken(std::string_view word) {
    return LooksLikeOption(word) && word[1] != '-' &&
           (word.size() > 2 || std::isalpha(static_cast<unsigned char>(word[1])) == 0);
}

// `names` in a column of its own, and the text beside it in lines that fit.
std::string Entry(const std::string& names, const std::string& text) {
    std::string entry = fmt::format("  {:<{}}", names, NameLength);
    if (names.size() + 1 > NameLength) entry += '\n' + std::string(NameLength + 2, ' ');
    std::istringstream words(text);
    std::size_t length = NameLength + 2;
    for (std::string word; words >> word; length += word.size() + 1) {
        if (length + word.size() > LineLength) {
            entry.back() = '\n';
            entry += std::string(NameLength + 2, ' ');
            length = NameLength + 2;
        }
        entry += word + ' ';
    }
    entry.back() = '\n';
    return entry;
}

std::string LeftOverMessage(const CLI::App& app, const CLI::App& command, const std::string& word) {
    if (&app == &command && !LooksLikeOption(word)) return UnknownCommand(app, word);
    if (!LooksLikeOption(word)) return fmt::format("{} is one argument too many", Quoted(word));
    const std::string name = word.substr(0, word.find('='));
    return fmt::format("no option {}{}", Quoted(name), Nearest(name, OptionNames(command)));
}

}  // namespace

void RefuseMistakenOptions(const CLI::App& app, const std::vector<std::string>& words) {
    const CLI::App* const found = CommandOf(app, words);
    const CLI::App& command = found ? *found : app;
    for (std::size_t i = 0; i < words.size() && words[i] != "--"; ++i) {
        const CLI::Option* const before = i > 0 ? FindOption(command, words[i - 1]) : nullptr;
        if (!IsMistaken(words[i]) || words[i].starts_with("-o=") || (before && TakesValue(*before))) continue;
        throw CLI::ParseError(fmt::format("{} begins like an option; put -- ahead of what begins with a dash: -- {}",
                                          Quoted(words[i]), Quoted(words[i])),
                              CLI::ExitCodes::ExtrasError);
    }
}

std::string UsageMessage(const CLI::App& app, const CLI::ParseError& error) {
    const auto chosen = app.get_subcommands();
    const CLI::App& command = chosen.empty() ? app : *chosen.front();
    std::vector<std::string> leftOver = app.remaining(true);
    std::erase(leftOver, "--");
    // What is left over often is the reason why something is missing.
    const auto mistaken = std::ranges::find_if(leftOver, LooksLikeOption);
    std::string message = error.what();
    const std::string name = message.substr(0, message.find(':'));
    if (mistaken != leftOver.end())
        message = LeftOverMessage(app, command, *mistaken);
    else if (!leftOver.empty())
        message = LeftOverMessage(app, command, leftOver.front());
    else if (chosen.empty() && error.get_name() == "RequiredError")
        message = fmt::format("which command? There are {}", fmt::join(CommandNames(app), ", "));
    else if (error.get_name() == "RequiredError")
        message = fmt::format("{} missing", message.substr(0, message.find(" required")));
    else if (error.get_name() == "ArgumentMismatch")
        message = name + (message.find("received") != std::string::npos ? " is given twice" : " needs a value");
    const std::string of = chosen.empty() ? std::string() : command.get_name() + ": ";
    return fmt::format("study: {}{} (see `study {}`)\n", of, message,
                       chosen.empty() ? "--help" : "help " + command.get_name());
}

std::string UnknownCommand(const CLI::App& app, const std::string& word) {
    return fmt::format("no command {}{}", Quoted(word), Nearest(word, CommandNames(app)));
}

const CLI::App* CommandOf(const CLI::App& app, const std::vector<std::string>& words) {
    for (std::size_t i = 0; i < words.size(); ++i) {
        const CLI::Option* const before = i > 0 ? FindOption(app, words[i - 1]) : nullptr;
        if (LooksLikeOption(words[i]) || (before && TakesValue(*before))) continue;
        for (const CLI::App* const command : app.get_subcommands([](const CLI::App*) { return true; })) {
            if (command->get_name() == words[i]) return command;
        }
        return nullptr;
    }
    return nullptr;
}

const CLI::Option* FindOption(const CLI::App& command, std::string_view name) {
    return LooksLikeOption(name) ? command.get_option_no_throw(std::string(name)) : nullptr;
}

bool TakesValue(const CLI::Option& option) { return option.get_items_expected_max() > 0; }

std::vector<std::string> OptionNames(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* const option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    }
    return names;
}

std::vector<std::string> CommandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* const command : app.get_subcommands([](const CLI::App*) { return true; })) {
        if (!command->get_group().empty()) names.push_back(command->get_name());  // without a group it is not for users
    }
    return names;
}

HelpFormatter::HelpFormatter() { column_width(NameLength); }

std::string HelpFormatter::make_option(const CLI::Option* option, bool isPositional) const {
    return Entry(make_option_name(option, isPositional) + make_option_opts(option), make_option_desc(option));
}

std::string HelpFormatter::make_option_opts(const CLI::Option* option) const {
    const std::string type = option->get_positional() || !TakesValue(*option) ? "" : option->get_type_name();
    return (type.empty() ? type : ' ' + type) +
           (option->get_default_str().empty() ? "" : " [" + option->get_default_str() + ']');
}

std::string HelpFormatter::make_subcommand(const CLI::App* command) const {
    return Entry(command->get_name(), command->get_description());
}

}  // namespace sarvane::study
