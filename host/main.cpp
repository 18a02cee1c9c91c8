// study: runs expressions over files of bars, through the binary interface of the operator library.

#include "commands/commands.h"
#include "commands/usage.h"
#include "console.h"
#include "failure.h"
#include "path.h"
#include "platform/system.h"
#include "version.h"

#include <algorithm>
#include <fmt/format.h>
#include <new>

namespace sarvane::study {
namespace {

int Main(int argc, char** argv) {
    PrepareStreams();
    std::string library;
    bool showVersion = false;
    CLI::App app("Runs technical-analysis expressions over files of bars.", "study");
    app.formatter(std::make_shared<HelpFormatter>());
    app.set_help_flag("-h,--help", "show this help");
    app.require_subcommand(0, 1);
    app.allow_windows_style_options(false);  // a path may begin with a slash
    app.add_option("--library", library, "the operator library, if not the one beside this program")->type_name("FILE");
    app.add_flag("--version", showVersion, "version, commit, build and operators");
    for (const auto add : {AddRun, AddLive, AddScan, AddReplay, AddChart, AddBars, AddExplain, AddVerify, AddList,
                           AddStudies, AddDescribe, AddHelp, AddCompletion, AddComplete, AddShare})
        add(app, library);
    app.footer(fmt::format("Exit status: {}.\n`study help COMMAND` shows the options of a command.", ExitStatusText));
    std::vector<std::string> words(argv + 1, argv + argc);
    try {
        RefuseMistakenOptions(app, words);
        std::ranges::reverse(words);  // as it is parsed
        app.parse(words);
        if (showVersion)
            Print(VersionText(PathOf(library)));
        else if (app.get_subcommands().empty())
            throw CLI::RequiredError("A command");
    } catch (const CLI::CallForHelp&) {
        const auto chosen = app.get_subcommands();
        Print(chosen.empty() ? app.help() : chosen.front()->help("study"));
    } catch (const CLI::ParseError& error) {
        PrintError(UsageMessage(app, error));
        return BadUsage;
    }
    FlushOutput();
    return OutputReaderIsGone() ? ReaderGone : Done;
}

}  // namespace
}  // namespace sarvane::study

int main(int argc, char** argv) {
    using namespace sarvane::study;
    try {
        return Main(argc, argv);
    } catch (const std::bad_alloc&) {
        PrintError("study: out of memory\n");
    } catch (const FailedCheck& failure) {
        Tell(failure.what());
        return CheckFailed;
    } catch (const std::exception& error) {  // a Failure, or such as an operator's window that is too long to be made
        Tell(error.what());
    }
    return BadData;
}
