#include "replay.h"

#include "commands/commands.h"
#include "commands/options.h"
#include "console.h"
#include "failure.h"

namespace sarvane::study {
namespace {

struct ReplayOptions {
    StudyOptions study;
    std::size_t ticks = 8;
};

void ReplayAll(const ReplayOptions& options) {
    const StudyOptions& study = options.study;
    const Library library = study.library.Load();
    const BarFile bars = study.ReadBars(library, WholeBars);
    std::size_t different = 0;
    for (const std::string& expression : study.expressions) {
        const ReplayResult result = Replay(library, bars, expression, study.run, options.ticks);
        Print(ReplayText(expression, bars, result));
        different += result.differingBars > 0;
    }
    if (different > 0)
        throw FailedCheck(fmt::format("{} of {} expressions differ from a run", different, study.expressions.size()));
}

}  // namespace

void AddReplay(CLI::App& app, const std::string& library) {
    CLI::App& command = *app.add_subcommand(
        "replay", "feed each bar as ticks, compare the values with those of a run, and time the updates");
    const auto options = std::make_shared<ReplayOptions>(ReplayOptions{StudyOptions{LibraryOptions{library}}});
    AddStudy(command, options->study);
    AddReading(command, options->study.reading);
    command.add_option("--ticks", options->ticks, "a bar, from its open over high and low to its close")
        ->type_name("N")
        ->check(WholeNumber(1, 1000000))
        ->capture_default_str();
    command.callback([options] { ReplayAll(*options); });
}

}  // namespace sarvane::study
