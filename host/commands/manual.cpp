#include "commands/manual.h"

#include "commands/commands.h"
#include "commands/completion.h"
#include "commands/usage.h"
#include "output_file.h"
#include "path.h"

#include <fmt/format.h>
#include <sstream>

namespace sarvane::study {
namespace {

namespace fs = std::filesystem;

// A text in the language of `man`: dashes that can be copied, and no line that begins like a request.
std::string Roff(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        const bool beginsLine = escaped.empty() || escaped.back() == '\n';
        if (beginsLine && (c == '.' || c == '\'')) escaped += "\\&";
        if (c == '-')
            escaped += "\\-";
        else if (c == '\\')
            escaped += "\\e";
        else if (c == '\'')
            escaped += "\\(aq";
        else if (c == '`')
            escaped += "\\(ga";
        else
            escaped += c;
    }
    return escaped;
}

std::string Entry(const std::string& name, const std::string& text) {
    return fmt::format(".TP\n.B {}\n{}\n", Roff(name), Roff(text));
}

// Lines that begin with a blank stay as they are.
std::string Paragraphs(const std::string& text) {
    std::string paragraphs;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const bool isExample = line.starts_with(' ');
        const std::string shown = Roff(isExample ? line.substr(line.find_first_not_of(' ')) : line);
        paragraphs += isExample ? fmt::format(".PP\n.RS\n.nf\n{}\n.fi\n.RE\n", shown) : shown + '\n';
    }
    return paragraphs;
}

std::string OptionEntries(const CLI::App& command, bool positional) {
    const HelpFormatter formatter;
    std::string entries;
    for (const CLI::Option* const option : command.get_options()) {
        if (option->get_positional() != positional) continue;
        std::string name = option->get_name(positional, true);
        if (const std::size_t comma = name.find(','); comma != std::string::npos) name.insert(comma + 1, " ");
        entries += Entry(name + formatter.make_option_opts(option), option->get_description());
    }
    return entries;
}

std::string Synopsis(const CLI::App& command) {
    std::string words = "[options]";
    for (const CLI::Option* const option : command.get_options()) {
        if (!option->get_positional()) continue;
        const std::string name = option->get_name(true) + (option->get_items_expected_max() > 1 ? "..." : "");
        words += option->get_required() ? ' ' + name : " [" + name + ']';
    }
    return words;
}

void WriteFile(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    OutputFile file(path, {});
    file.Write(text);
    file.Close();
}

}  // namespace

std::string ManualPage(const CLI::App& app, const CLI::App* command) {
    const CLI::App& shown = command ? *command : app;
    const std::string name = command ? "study-" + command->get_name() : "study";
    std::string title = name;
    for (char& c : title) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    std::string page = fmt::format(".TH {} 1 \"\" study \"User Commands\"\n.SH NAME\n{} \\- {}\n.SH SYNOPSIS\n",
                                   Roff(title), Roff(name), Roff(shown.get_description()));
    page += command ? fmt::format(".B study {}\n{}\n", command->get_name(), Roff(Synopsis(shown)))
                    : ".B study\n[options] command ...\n";
    if (const std::string arguments = OptionEntries(shown, true); !arguments.empty())
        page += ".SH ARGUMENTS\n" + arguments;
    if (!command) {
        page += ".SH COMMANDS\n";
        for (const std::string& known : CommandNames(app))
            page += Entry(known, app.get_subcommand(known)->get_description());
    }
    page += ".SH OPTIONS\n" + OptionEntries(shown, false);
    if (command && !command->get_footer().empty()) page += ".SH NOTES\n" + Paragraphs(command->get_footer());
    page += fmt::format(".SH EXIT STATUS\n{}\n", Roff(ExitStatusText));
    page += command ? ".SH SEE ALSO\n.BR study (1)\n" : ".SH SEE ALSO\n";
    for (const std::string& known : CommandNames(app)) {
        if (!command) page += fmt::format(".BR study\\-{} (1)\n", Roff(known));
    }
    return page;
}

// Not for users: what the build installs below share/.
void AddShare(CLI::App& app, const std::string&) {
    CLI::App& command = *app.add_subcommand("share", "write manual pages and completions")->group("");
    const auto folder = std::make_shared<std::string>();
    command.add_option("folder", *folder, "as share/ of an installation")->type_name("FOLDER")->required();
    command.callback([&app, folder] {
        const fs::path share = PathOf(*folder), pages = share / "man" / "man1";
        WriteFile(pages / "study.1", ManualPage(app, nullptr));
        for (const std::string& name : CommandNames(app))
            WriteFile(pages / ("study-" + name + ".1"), ManualPage(app, app.get_subcommand(name)));
        WriteFile(share / "bash-completion" / "completions" / "study", CompletionScript("bash"));
        WriteFile(share / "zsh" / "site-functions" / "_study", CompletionScript("zsh"));
        WriteFile(share / "fish" / "vendor_completions.d" / "study.fish", CompletionScript("fish"));
    });
}

}  // namespace sarvane::study
