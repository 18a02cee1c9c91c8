#include "commands/commands.h"
#include "commands/usage.h"
#include "console.h"

namespace sarvane::study {

void AddHelp(CLI::App& app, const std::string&) {
    CLI::App& command = *app.add_subcommand("help", "the options of a command");
    const auto name = std::make_shared<std::string>();
    const auto known = [&app](const std::string& word) {
        const CLI::App* const found = CommandOf(app, {word});
        return found ? std::string() : UnknownCommand(app, word);
    };
    command.add_option("command", *name, "as in `study --help`")->type_name("COMMAND")->check({known, ""});
    command.callback([&app, name] {
        // `help` of the program itself would be that of the command that was given, which is this one.
        Print(name->empty() ? app.get_formatter()->make_help(&app, "study", CLI::AppFormatMode::Normal)
                            : app.get_subcommand(*name)->help("study"));
    });
}

}  // namespace sarvane::study
