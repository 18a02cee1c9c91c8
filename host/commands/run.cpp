#include "commands/commands.h"
#include "commands/options.h"
#include "console.h"
#include "output_file.h"
#include "path.h"
#include "progress.h"
#include "table.h"

#include <fmt/format.h>

namespace sarvane::study {
namespace {

struct RunOptions {
    StudyOptions study;
    std::string output = {};
    std::optional<std::size_t> last = {};
    bool allOutputs = false;
};

void FinishTable(const CsvTable& file, OutputFile& output, const std::string& name) {
    output.Close();
    if (file.NotFinite() > 0)
        Tell(fmt::format("{}: values that are infinite or no number, written as gaps: {}", name, file.NotFinite()));
}

void Run(const RunOptions& options) {
    const Library library = options.study.library.Load();
    const BarFile bars = options.study.ReadBars();
    Study study(library, bars, options.study.run);
    options.study.AddTo(study, options.allOutputs);

    const std::size_t count = bars.BarCount();
    const std::size_t firstShown = options.last ? count - std::min(count, *options.last) : 0;
    std::unique_ptr<OutputFile> output;
    std::optional<CsvTable> file;
    if (!options.output.empty()) {
        output = std::make_unique<OutputFile>(PathOf(options.output), options.study.FilesRead());
        file.emplace(*output, bars, study.Results());
    }
    std::optional<ScreenTable> screen;
    if (!output || !output->IsStandardOutput()) screen.emplace(bars, study.Results());
    Progress progress("calculating", static_cast<double>(count));
    study.Reset();
    for (std::size_t bar = 0; bar < count; ++bar) {
        study.Step(bar);
        progress.Update(static_cast<double>(bar));
        if (bar < firstShown) continue;
        progress.Hide();
        if (screen) screen->WriteBar(bars.Date(bar), study.Results());
        if (file) file->WriteBar(bars.Date(bar), study.Results());
        if (!file && OutputReaderIsGone()) return;
    }
    progress.Hide();
    if (file) FinishTable(*file, *output, options.output);
    FlushOutput();
    TellAll(study.EmptyColumns());
}

}  // namespace

void AddRun(CLI::App& app, const std::string& library) {
    CLI::App& command = *app.add_subcommand("run", "run expressions over a file of bars");
    const auto options = std::make_shared<RunOptions>(StudyOptions{LibraryOptions{library}});
    AddStudy(command, options->study);
    AddReading(command, options->study.reading);
    command.add_option("-o,--output", options->output, "write the table to this file, too, with all digits");
    command.add_option("--last", options->last, "show only the last N bars")->check(WholeNumber(0));
    command.add_flag("--all-outputs", options->allOutputs, "a column for each output of an expression");
    command.callback([options] { Run(*options); });
}

}  // namespace sarvane::study
