// study: runs expressions over files of bars, through the binary interface of the operator library.

#include "chart.h"
#include "console.h"
#include "description.h"
#include "explain.h"
#include "failure.h"
#include "follow.h"
#include "output_file.h"
#include "path.h"
#include "platform/system.h"
#include "progress.h"
#include "replay.h"
#include "study_description.h"
#include "table.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <fmt/format.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

namespace sarvane::study {
namespace {

struct Options {
    std::string library;
    std::vector<std::string> definitions;
    bool json = false;
    bool markdown = false;
    bool plan = false;
    std::string keyword;
    std::vector<std::string> arguments;
    std::string barFile;
    std::vector<std::string> expressions;
    ReadSettings reading;
    std::string output;
    std::optional<std::size_t> last;
    bool allOutputs = false;
    std::size_t snapshotDistance = 0;
    bool noFollow = false;
    std::size_t ticks = 8;
    RunSettings settings;
    std::string picture;
    int pictureWidth = 1280;
    std::string theme = "auto";
};

// In ASCII: what `Print` would escape is escaped as JSON has it.
std::string JsonText(const nlohmann::json& json) {
    return json.dump(2, ' ', true, nlohmann::json::error_handler_t::replace) + '\n';
}

Library LoadLibrary(const Options& options) {
    std::vector<std::filesystem::path> files;
    for (const std::string& file : options.definitions) files.push_back(PathOf(file));
    return Library(PathOf(options.library), files);
}

void List(const Options& options) {
    const Library library = LoadLibrary(options);
    Print(options.json ? JsonText(ListJson(library)) : ListText(library));
}

void DescribeOne(const Options& options) {
    const Library library = LoadLibrary(options);
    const OperatorSettings& operators = options.settings.operators;
    if (const Definition* const study = library.Studies()->Studies().Find(options.keyword)) {
        if (options.markdown) return Print(DescribeMarkdown(*study));
        return Print(options.json ? JsonText(DescribeJson(library, *study, options.arguments, operators))
                                  : DescribeText(library, *study, options.arguments, operators));
    }
    if (options.markdown) return Print(DescribeMarkdown(library.FindOrFail(options.keyword)));
    Print(options.json ? JsonText(DescribeJson(library, options.keyword, options.arguments, operators))
                       : DescribeText(library, options.keyword, options.arguments, operators));
}

void ListStudies(const Options& options) {
    const Library library = LoadLibrary(options);
    if (options.markdown) return Print(StudiesMarkdown(library));
    Print(options.json ? JsonText(StudiesJson(library)) : StudiesText(library));
}

BarFile ReadBars(const Options& options) {
    ReadSettings settings = options.reading;
    settings.tell = Tell;
    RefuseAsStandardOutput(PathOf(options.barFile));
    return BarFile(PathOf(options.barFile), settings);
}

void Explain(const Options& options) {
    const Library library = LoadLibrary(options);
    const std::vector<std::string> columns = options.barFile.empty()
                                                 ? std::vector<std::string>{"open", "high", "low", "close", "volume"}
                                                 : ReadBars(options).Columns();
    Print(ExplainText(library, columns, options.expressions, options.settings.operators, options.plan));
}

// Null without a path. Of what the command reads, or writes besides, nothing may be written over.
std::unique_ptr<OutputFile> OpenOutput(const std::string& path, const Options& options, const std::string& other = {}) {
    if (path.empty()) return nullptr;
    std::vector<std::filesystem::path> taken = {PathOf(options.barFile)};
    for (const std::string& file : {options.library, other}) {
        if (!file.empty()) taken.push_back(PathOf(file));
    }
    return std::make_unique<OutputFile>(PathOf(path), taken);
}

void TellAll(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) Tell(line);
}

void FinishTable(const CsvTable& file, OutputFile& output, const std::string& name) {
    output.Close();
    if (file.NotFinite() > 0)
        Tell(fmt::format("{}: values that are infinite or no number, written as gaps: {}", name, file.NotFinite()));
}

void Run(const Options& options) {
    const Library library = LoadLibrary(options);
    const BarFile bars = ReadBars(options);
    Study study(library, bars, options.settings);
    for (const std::string& expression : options.expressions) study.Add(expression, options.allOutputs);
    TellAll(study.Warnings());

    const std::size_t count = bars.BarCount();
    const std::size_t firstShown = options.last ? count - std::min(count, *options.last) : 0;
    const std::unique_ptr<OutputFile> output = OpenOutput(options.output, options);
    std::optional<CsvTable> file;
    if (output) file.emplace(*output, bars, study.Results());
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

void RunLive(const Options& options) {
    const Library library = LoadLibrary(options);
    RefuseAsStandardOutput(PathOf(options.barFile));
    RunLive(library, options.barFile, options.expressions, options.allOutputs, options.settings,
            options.snapshotDistance, !options.noFollow);
}

void ReplayAll(const Options& options) {
    const Library library = LoadLibrary(options);
    const BarFile bars = ReadBars(options);
    std::size_t different = 0;
    for (const std::string& expression : options.expressions) {
        const ReplayResult result = Replay(library, bars, expression, options.settings, options.ticks);
        Print(ReplayText(expression, bars, result));
        different += result.differingBars > 0;
    }
    if (different > 0) Fail("{} of {} expressions differ from a run", different, options.expressions.size());
}

// For options that take a whole number. The check for numbers of any kind would show the largest double as the bound.
CLI::Validator AtLeast(long long least) {
    const auto check = [least](const std::string& text) {
        long long number = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        const bool fits = error == std::errc() && end == text.data() + text.size() && number >= least;
        return fits ? "" : fmt::format("{} is no whole number from {} on", text, least);
    };
    return {check, ""};
}

// For options that take a number above 0.
CLI::Validator AboveZero() {
    const auto check = [](const std::string& text) {
        double number = 0.0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        const bool fits =
            error == std::errc() && end == text.data() + text.size() && number > 0.0 && std::isfinite(number);
        return fits ? "" : fmt::format("{} is no number above 0", text);
    };
    return {check, ""};
}

void AddOperatorSettings(CLI::App& command, OperatorSettings& settings) {
    command.add_option("--history", settings.history, "bars that operators keep where no argument says how many")
        ->check(AtLeast(1))
        ->capture_default_str();
    command.add_option("--digits", settings.digits, "of precision of the averages that round: 4 to 15");
}

void AddDefinitions(CLI::App& command, Options& options) {
    command.add_option("--define", options.definitions, "a file of studies for expressions to use; can be repeated")
        ->allow_extra_args(false);
}

void AddRunSettings(CLI::App& command, Options& options) {
    command.add_option("bars", options.barFile, "comma-separated values; the first line names the columns")->required();
    command.add_option("expressions", options.expressions, "such as \"Sim(Close, 5)\"")->required();
    command.add_flag("--hold", options.settings.hold, "bar arithmetic repeats missing inputs");
    command.add_option("--price-step", options.settings.priceStep, "the step that stops are rounded to, above 0")
        ->check(AboveZero());
    AddOperatorSettings(command, options.settings.operators);
    AddDefinitions(command, options);
}

void AddReadSettings(CLI::App& command, ReadSettings& settings) {
    command.add_flag("--skip-bad", settings.leaveOutBad, "report lines that can't be read, and leave them out");
    command.add_flag("--sort", settings.sort, "put lines in the order of their times");
}

void DrawOne(const Options& options) {
    const Library library = LoadLibrary(options);
    const BarFile bars = ReadBars(options);
    Study study(library, bars, options.settings);
    for (const std::string& expression : options.expressions) study.Add(expression, true);
    TellAll(study.Warnings());
    const auto pageFile = OpenOutput(options.output, options, options.picture);
    const auto pictureFile = OpenOutput(options.picture, options, options.output);
    const ChartPage page = DrawChart(bars, study, {options.theme, options.last});
    if (pageFile) {
        pageFile->Write(page.html);
        pageFile->Close();
    }
    if (pictureFile) {
        pictureFile->Write(PaintPicture(options.picture, page, options.pictureWidth));
        pictureFile->Close();
    }
}

int Main(int argc, char** argv) {
    PrepareStreams();
    Options options;
    CLI::App app("Runs technical-analysis expressions over files of bars.", "study");
    app.require_subcommand(1);
    app.allow_windows_style_options(false);  // a path may begin with a slash
    app.add_option("--library", options.library, "the operator library, if not the one beside this program");

    CLI::App* const list = app.add_subcommand("list", "all operators: keyword, class, inputs, parameters, outputs");
    list->add_flag("--json", options.json, "for programs");
    list->callback([&] { List(options); });

    CLI::App* const studies = app.add_subcommand("studies", "all studies that are defined on the operators");
    auto* const studiesJson = studies->add_flag("--json", options.json, "for programs");
    studies->add_flag("--markdown", options.markdown, "all about them, for documents")->excludes(studiesJson);
    AddDefinitions(*studies, options);
    studies->callback([&] { ListStudies(options); });

    CLI::App* const describe =
        app.add_subcommand("describe", "what an operator or a study says of itself with given arguments");
    describe->add_option("keyword", options.keyword, "as in `study list` or `study studies`")->required();
    describe->add_option("arguments", options.arguments,
                         "of an operator from argument 1 on, of a study those with a default; '' leaves one as it is");
    AddDefinitions(*describe, options);
    auto* const json = describe->add_flag("--json", options.json, "for programs");
    describe->add_flag("--markdown", options.markdown, "only its arguments, as a table for documents")->excludes(json);
    AddOperatorSettings(*describe, options.settings.operators);
    describe->callback([&] { DescribeOne(options); });

    CLI::App* const explain = app.add_subcommand("explain", "what expressions stand for, in their operators' words");
    explain->add_option("expressions", options.expressions, "such as \"RSI(Close, 14)\"")->required();
    explain->add_flag("--plan", options.plan, "the nodes that calculate them; equal parts are one node");
    explain->add_option("--bars", options.barFile, "a file of bars whose columns they may use");
    AddOperatorSettings(*explain, options.settings.operators);
    AddDefinitions(*explain, options);
    explain->callback([&] { Explain(options); });

    CLI::App* const run = app.add_subcommand("run", "run expressions over a file of bars");
    AddRunSettings(*run, options);
    AddReadSettings(*run, options.reading);
    run->add_option("-o,--output", options.output, "write the table to this file, too, with all digits");
    run->add_option("--last", options.last, "show only the last N bars")->check(AtLeast(0));
    run->add_flag("--all-outputs", options.allOutputs, "a column for each output of an expression");
    run->callback([&] { Run(options); });

    CLI::App* const live = app.add_subcommand(
        "live", "follow a growing file of bars and ticks, or standard input for '-', and print each change");
    live->footer(
        "A line with the time of the last bar changes that bar, one with the time of an older bar corrects it, and\n"
        "one with a later time opens the next bar. A line that can't be read is reported and left out. A file that\n"
        "is replaced or written anew is read again, and what differs is shown.");
    AddRunSettings(*live, options);
    live->add_flag("--all-outputs", options.allOutputs, "a column for each output of an expression");
    live->add_option("--snapshots", options.snapshotDistance,
                     "keep a snapshot every N bars, from which corrections of older bars go on")
        ->check(AtLeast(0));
    live->add_flag("--no-follow", options.noFollow, "stop at the end of the file");
    live->callback([&] { RunLive(options); });

    CLI::App* const replay = app.add_subcommand(
        "replay", "feed each bar as ticks, compare the values with those of a run, and time the updates");
    AddRunSettings(*replay, options);
    AddReadSettings(*replay, options.reading);
    replay->add_option("--ticks", options.ticks, "a bar, from its open over high and low to its close")
        ->check(CLI::Range(1, 1000000))
        ->capture_default_str();
    replay->callback([&] { ReplayAll(options); });

    CLI::App* const chart =
        app.add_subcommand("chart", "draw all outputs of expressions over a file of bars, as one page for a browser");
    AddRunSettings(*chart, options);
    AddReadSettings(*chart, options.reading);
    chart->get_option("expressions")->required(false);
    chart->add_option("-o,--output", options.output, "the page");
    chart->add_option("--png", options.picture, "a picture of the page, painted by an installed Chromium");
    chart->add_option("--width", options.pictureWidth, "of the picture, in pixels")
        ->check(CLI::Range(500, 10000))
        ->capture_default_str();
    chart->add_option("--last", options.last, "show the last N bars at first")->check(AtLeast(1));
    chart->add_option("--theme", options.theme, "colours: auto, light or dark")
        ->check(CLI::IsMember({"auto", "light", "dark"}));
    chart->callback([&] {
        if (options.output.empty() && options.picture.empty()) throw CLI::RequiredError("-o or --png");
        DrawOne(options);
    });

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
