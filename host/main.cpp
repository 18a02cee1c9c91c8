// study: runs expressions over files of bars, through the binary interface of the operator library.

#include "commands/commands.h"
#include "console.h"
#include "platform/system.h"

#include <cstdlib>
#include <new>
#include <sstream>

namespace sarvane::study {
namespace {

int Main(int argc, char** argv) {
    PrepareStreams();
    std::string library;
    CLI::App app("Runs technical-analysis expressions over files of bars.", "study");
    app.require_subcommand(1);
    app.allow_windows_style_options(false);  // a path may begin with a slash
    app.add_option("--library", library, "the operator library, if not the one beside this program");
    for (const auto add : {AddList, AddStudies, AddDescribe, AddExplain, AddRun, AddLive, AddReplay, AddChart})
        add(app, library);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {  // or a wish for help
        std::ostringstream lines, errorLines;
        const int status = app.exit(error, lines, errorLines);
        Print(lines.str());
        FlushOutput();
        PrintError(errorLines.str());
        return status;
    }
    FlushOutput();
    constexpr int ReaderGone = 141;  // what a shell shows of a program that its broken pipe has ended
    return OutputReaderIsGone() ? ReaderGone : EXIT_SUCCESS;
}

}  // namespace
}  // namespace sarvane::study

int main(int argc, char** argv) {
    try {
        return sarvane::study::Main(argc, argv);
    } catch (const std::bad_alloc&) {
        sarvane::study::PrintError("study: out of memory\n");
    } catch (const std::exception& error) {  // a Failure, or such as an operator's window that is too long to be made
        sarvane::study::Tell(error.what());
    }
    return EXIT_FAILURE;
}
