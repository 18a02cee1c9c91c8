#include "chart.h"

#include "commands/commands.h"
#include "commands/options.h"
#include "output_file.h"
#include "path.h"

namespace sarvane::study {
namespace {

struct ChartOptions {
    StudyOptions study;
    ChartSettings chart = {};
    std::string page = {};
    std::string picture = {};
    int pictureWidth = 1280;
};

// Null without a path. Nothing is written over what the command reads, or over `other`, which it writes besides.
std::unique_ptr<OutputFile> Open(const std::string& path, const std::string& other, const StudyOptions& study) {
    if (path.empty()) return nullptr;
    std::vector<std::filesystem::path> taken = study.FilesRead();
    if (!other.empty()) taken.push_back(PathOf(other));
    return std::make_unique<OutputFile>(PathOf(path), taken);
}

void Draw(const ChartOptions& options) {
    if (options.page.empty() && options.picture.empty()) throw CLI::RequiredError("-o or --png");
    const Library library = options.study.library.Load();
    const BarFile bars = options.study.ReadBars(library, true);
    Study study(library, bars, options.study.run);
    options.study.AddTo(study, true);
    const auto pageFile = Open(options.page, options.picture, options.study);
    const auto pictureFile = Open(options.picture, options.page, options.study);
    const ChartPage page = DrawChart(bars, study, options.chart);
    if (pageFile) {
        pageFile->Write(page.html);
        pageFile->Close();
    }
    if (pictureFile) {
        pictureFile->Write(PaintPicture(options.picture, page, options.pictureWidth));
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
    command.get_option("expressions")->required(false);
    command.add_option("-o,--output", options->page, "the page")->type_name("FILE");
    command.add_option("--png", options->picture, "a picture of the page, painted by an installed Chromium")
        ->type_name("FILE");
    command.add_option("--width", options->pictureWidth, "of the picture, in pixels")
        ->type_name("PIXELS")
        ->check(WholeNumber(500, 10000))
        ->capture_default_str();
    command.add_option("--last", options->chart.last, "show the last N bars at first")
        ->type_name("N")
        ->check(WholeNumber(1));
    OneOf(*command.add_option("--theme", options->chart.theme, "colours; auto is what the reader's system prefers"),
          {"auto", "light", "dark"});
    command.callback([options] { Draw(*options); });
}

}  // namespace sarvane::study
