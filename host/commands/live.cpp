#include "commands/commands.h"
#include "commands/options.h"
#include "follow.h"
#include "output_file.h"
#include "path.h"

namespace sarvane::study {
namespace {

struct LiveOptions {
    StudyOptions study;
    TableOptions table = {};
    FollowSettings following = {};
    bool noFollow = false;
};

void FollowFile(const LiveOptions& options) {
    const StudyOptions& study = options.study;
    const Library library = study.library.Load();
    if (study.barFile != "-") RefuseAsStandardOutput(PathOf(study.barFile));
    FollowSettings settings = options.following;
    settings.file = study.barFile;
    settings.expressions = study.expressions;
    settings.run = study.run;
    settings.follow = !options.noFollow;
    settings.layout = study.reading.layout;
    settings.to = study.reading.to;
    TableOutput table(options.table, study.FilesRead(), TableOutput::Kind::GrowingBars);
    FollowTable output(table);
    RunLive(library, settings, output);
}

}  // namespace

void AddLive(CLI::App& app, const std::string& library) {
    CLI::App& command = *app.add_subcommand(
        "live", "follow a growing file of bars and ticks, or standard input for '-', and print each change");
    command.footer(
        "A line with the time of the last bar changes that bar, one with the time of an older bar corrects it, and\n"
        "one with a later time opens the next bar. A line that can't be read is reported and left out. A file that\n"
        "is replaced or written anew is read again, and what differs is shown. What a file holds at first is history,\n"
        "for which --when does nothing.");
    const auto options = std::make_shared<LiveOptions>(LiveOptions{StudyOptions{LibraryOptions{library}}});
    AddStudy(command, options->study);
    AddFrame(command, options->study.reading.to);
    AddLayout(command, options->study.reading.layout);
    AddTable(command, options->table);
    command.add_flag("--all-outputs", options->following.allOutputs, "a column for each output of an expression");
    command
        .add_option("--snapshots", options->following.snapshotDistance,
                    "keep a snapshot every N bars, from which corrections of older bars go on")
        ->type_name("N")
        ->check(WholeNumber(0));
    AddAlerts(command, options->following.alerts);
    command.add_flag("--no-follow", options->noFollow, "stop at the end of the file");
    command.callback([options] { FollowFile(*options); });
}

}  // namespace sarvane::study
