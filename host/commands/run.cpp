#include "commands/commands.h"
#include "commands/options.h"
#include "console.h"
#include "progress.h"
#include "verify/fingerprint.h"

namespace sarvane::study {
namespace {

struct RunOptions {
    StudyOptions study;
    TableOptions table = {};
    std::optional<std::size_t> last = {};
    bool allOutputs = false;
    bool fingerprint = false;
};

void Run(const RunOptions& options) {
    const Library library = options.study.library.Load();
    const BarFile bars = options.study.ReadBars(library);
    if (options.fingerprint) {
        const StudyOptions& study = options.study;
        return Print(JsonText(FingerprintRun(library, bars, study.expressions, study.run, options.allOutputs).Json()));
    }
    Study study(library, bars, options.study.run);
    options.study.AddTo(study, options.allOutputs);

    const std::size_t count = bars.BarCount();
    const std::size_t firstShown = options.last ? count - std::min(count, *options.last) : 0;
    TableOutput table(options.table, options.study.FilesRead(), TableOutput::Kind::Bars);
    table.Begin(bars, study.Results());
    const std::vector<StartNotice> notices = options.study.Settle(library, bars, study, options.allOutputs, firstShown);
    Progress progress("calculating", static_cast<double>(count));
    study.Reset();
    for (std::size_t bar = 0; bar < count; ++bar) {
        study.Step(bar);
        progress.Update(static_cast<double>(bar));
        if (bar < firstShown) continue;
        progress.Hide();
        table.WriteBar(bars.Date(bar), study.Results());
        if (!table.IsWanted()) return;
    }
    progress.Hide();
    table.Finish();
    TellAll(study.EmptyColumns());
    for (const StartNotice& notice : notices) Tell(notice.text);
}

}  // namespace

void AddRun(CLI::App& app, const std::string& library) {
    CLI::App& command = *app.add_subcommand("run", "run expressions over a file of bars");
    const auto options = std::make_shared<RunOptions>(RunOptions{StudyOptions{LibraryOptions{library}}});
    AddStudy(command, options->study);
    AddReading(command, options->study.reading);
    AddTable(command, options->table);
    command.add_option("--last", options->last, "show only the last N bars")->type_name("N")->check(WholeNumber(0));
    command.add_flag("--all-outputs", options->allOutputs, "a column for each output of an expression");
    AddSettled(command, options->study);
    const auto fingerprint = command.add_flag("--fingerprint", options->fingerprint,
                                              "show fingerprints of the columns instead, for `study verify`, as JSON");
    for (const char* const other : {"--last", "--settled", "--output", "--format", "--na", "--precision"})
        fingerprint->excludes(command.get_option(other));
    command.callback([options] { Run(*options); });
}

}  // namespace sarvane::study
