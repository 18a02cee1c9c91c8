#include "chart.h"

#include "chart_server/live_chart.h"
#include "commands/commands.h"
#include "commands/options.h"
#include "description.h"
#include "explain/explanation.h"
#include "output_file.h"
#include "path.h"
#include "progress.h"

#include <algorithm>
#include <iterator>

namespace sarvane::study {
namespace {

struct ChartOptions {
    StudyOptions study;
    ChartSettings chart = {};
    std::string page = {};
    std::string picture = {};
    PictureSize pictureSize = {};
    std::vector<std::string> drawings = {};
    bool isLive = false;
    LiveChartSettings live = {};
};

// Null without a path. Nothing is written over what the command reads, or over `other`, which it writes besides.
std::unique_ptr<OutputFile> Open(const std::string& path, const std::string& other, const StudyOptions& study) {
    if (path.empty()) return nullptr;
    std::vector<std::filesystem::path> taken = study.FilesRead();
    if (!other.empty()) taken.push_back(PathOf(other));
    return std::make_unique<OutputFile>(PathOf(path), taken);
}

std::pair<std::string, std::string> SplitDrawing(const std::string& text) {
    const std::size_t equals = text.rfind('=');
    if (equals == std::string::npos) return {};
    return {text.substr(0, equals), text.substr(equals + 1)};
}

// Empty if there is none.
std::string DrawingFault(const std::string& text) {
    const std::string kind = SplitDrawing(text).second;
    for (const DrawnAs drawing : {DrawnAs::Line, DrawnAs::Step, DrawnAs::Band, DrawnAs::Histogram, DrawnAs::Marker}) {
        if (kind == DrawingName(drawing)) return "";
    }
    return "\"" + text + "\" does not end with =line, =step, =band, =histogram or =marker";
}

// Of the bars that are in view at first, or of fewer where the texts would make the page large.
std::vector<std::string> Explanations(const Library& library, const BarFile& bars, const ChartOptions& options) {
    constexpr std::size_t InView = 250;           // as the page has it
    constexpr std::size_t MostBytes = 1'000'000;  // of all texts
    const std::size_t count = bars.BarCount(), wanted = std::min(count, options.chart.last.value_or(InView));
    std::vector<std::string> texts;
    if (wanted == 0 || options.study.expressions.empty()) return texts;
    Recording recording(library, bars, options.study.expressions, options.study.run, count - 1);
    Progress progress("explaining", static_cast<double>(wanted));
    for (std::size_t bar = count, bytes = 0; bar-- > count - wanted && bytes < MostBytes;) {
        recording.Show(bar);
        texts.push_back(ExplanationText(ExplanationJson(recording)));
        bytes += texts.back().size();
        progress.Update(static_cast<double>(texts.size()));
    }
    std::ranges::reverse(texts);
    return texts;
}

// Of each expression, whether it reads nothing but the volume.
std::vector<bool> OfVolume(const Library& library, const BarHeader& header, const StudyOptions& options) {
    std::vector<bool> ofVolume;
    const auto volume = header.FindColumn("volume");
    for (const std::string& expression : options.expressions) {
        std::vector<bool> wanted = WantedBy(library, header.titles, {expression}, options.run.operators);
        const bool readsVolume = volume && wanted[*volume];
        ofVolume.push_back(readsVolume && std::ranges::count(wanted, true) == 1);
    }
    return ofVolume;
}

void DrawLive(const ChartOptions& options) {
    const StudyOptions& study = options.study;
    const Library library = study.library.Load();
    LiveChartSettings settings = options.live;
    settings.following.file = study.barFile;
    settings.following.expressions = study.expressions;
    settings.following.allOutputs = true;
    settings.following.run = study.run;
    settings.following.layout = study.reading.layout;
    settings.following.to = study.reading.to;
    settings.chart = options.chart;
    std::ranges::transform(options.drawings, std::back_inserter(settings.chart.drawings), SplitDrawing);
    settings.ofVolume = [&](const BarHeader& header) { return OfVolume(library, header, study); };
    RunLiveChart(library, settings, WholeBars);
}

void Draw(const ChartOptions& options) {
    if (options.isLive) return DrawLive(options);
    if (options.page.empty() && options.picture.empty()) throw CLI::RequiredError("-o, --png or --live");
    const Library library = options.study.library.Load();
    const BarFile bars = options.study.ReadBars(library, WholeBars);
    Study study(library, bars, options.study.run);
    options.study.AddTo(study, true);
    const auto pageFile = Open(options.page, options.picture, options.study);
    const auto pictureFile = Open(options.picture, options.page, options.study);
    ChartSettings settings = options.chart;
    settings.notices = options.study.Settle(library, bars, study, true);
    std::ranges::transform(options.drawings, std::back_inserter(settings.drawings), SplitDrawing);
    settings.ofVolume = OfVolume(library, bars.Header(), options.study);
    settings.explanations = Explanations(library, bars, options);
    const ChartPage page = DrawChart(bars, study, settings);
    if (pageFile) {
        pageFile->Write(page.html);
        pageFile->Close();
    }
    if (pictureFile) {
        pictureFile->Write(PaintPicture(options.picture, page, options.pictureSize));
        pictureFile->Close();
    }
}

}  // namespace

void AddChart(CLI::App& app, const std::string& library) {
    CLI::App& command =
        *app.add_subcommand("chart", "draw all outputs of expressions over a file of bars, as one page for a browser");
    const auto options = std::make_shared<ChartOptions>(ChartOptions{StudyOptions{LibraryOptions{library}}});
    AddStudy(command, options->study);
    AddReading(command, options->study.reading);
    AddSettled(command, options->study);
    command.get_option("expressions")->required(false);
    command.add_option("-o,--output", options->page, "the page")->type_name("FILE");
    command.add_option("--png", options->picture, "a picture of the page, painted by an installed Chromium")
        ->type_name("FILE");
    command.add_option("--width", options->pictureSize.width, "of the picture, in pixels of the page")
        ->type_name("PIXELS")
        ->check(WholeNumber(300, 10000))
        ->capture_default_str();
    command
        .add_option("--height", options->pictureSize.height, "of the picture; as high as its panes need if not given")
        ->type_name("PIXELS")
        ->check(WholeNumber(300, 10000));
    command.add_option("--scale", options->pictureSize.scale, "pixels of the picture to a pixel of the page")
        ->type_name("N")
        ->check(CLI::Range(0.5, 4.0))
        ->capture_default_str();
    command
        .add_option("--draw", options->drawings,
                    "draw a curve otherwise: NAME=line, step, band, histogram or marker. The name is an expression as "
                    "typed, an output, or both with a point between them")
        ->type_name("NAME=KIND")
        ->check(CLI::Validator(DrawingFault, ""))
        ->allow_extra_args(false);
    command.add_option("--last", options->chart.last, "show the last N bars at first")
        ->type_name("N")
        ->check(WholeNumber(1));
    OneOf(*command.add_option("--theme", options->chart.theme, "colours; auto is what the reader's system prefers"),
          {"auto", "light", "dark"});
    CLI::Option* const live = command.add_flag(
        "--live", options->isLive, "follow the file, or standard input for '-', and serve the page while bars come");
    for (const char* const other : {"--output", "--png", "--settled", "--skip-bad", "--sort"})
        live->excludes(command.get_option(other));
    options->live.following.snapshotDistance = 1000;
    ServerSettings& server = options->live.server;
    for (CLI::Option* const option :
         {command.add_option("--port", server.port, "of the page; a free one if not given")->type_name("N"),
          command
              .add_option("--listen", server.address,
                          "serve others than this machine, too, at this address of it; the page's address then "
                          "has a secret part")
              ->type_name("ADDRESS"),
          command.add_flag("--no-browser", options->live.staysClosed, "don't open the page in a browser"),
          command
              .add_option("--snapshots", options->live.following.snapshotDistance,
                          "keep a snapshot every N bars, from which corrections of older bars go on")
              ->type_name("N")
              ->check(WholeNumber(0))
              ->capture_default_str(),
          AddAlerts(command, options->live.following.alerts)})
        option->needs(live);
    command.callback([options] { Draw(*options); });
}

}  // namespace sarvane::study
