#include "scan.h"

#include "commands/commands.h"
#include "commands/options.h"
#include "console.h"
#include "failure.h"
#include "path.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <thread>

namespace sarvane::study {
namespace {

namespace fs = std::filesystem;

constexpr std::array<std::string_view, 5> Endings = {".csv", ".tsv", ".txt", ".gz", ".zst"};

struct ScanOptions {
    LibraryOptions library;
    std::vector<std::string> words = {};
    ScanSettings scan = {};
    TableOptions table = {};
    std::optional<std::size_t> top = {};
    bool notices = false;
};

bool LooksLikeFile(std::string_view word) {
    return std::ranges::any_of(Endings, [&](std::string_view ending) { return word.ends_with(ending); });
}

// All files of bars in a folder, by name.
std::vector<fs::path> FilesIn(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (entry.is_regular_file() && LooksLikeFile(TextOf(entry.path().filename()))) files.push_back(entry.path());
    }
    std::ranges::sort(files);
    if (files.empty()) Fail("{}: no file in it ends with .csv, .tsv, .txt, .gz or .zst", TextOf(folder));
    return files;
}

// What exists is a file or a folder, all else is an expression.
void Sort(const std::vector<std::string>& words, ScanSettings& settings) {
    for (const std::string& word : words) {
        std::error_code error;
        const fs::path path = PathOf(word);
        if (word == "-") {
            settings.files.push_back(path);
        } else if (fs::is_directory(path, error)) {
            const std::vector<fs::path> files = FilesIn(path);
            settings.files.insert(settings.files.end(), files.begin(), files.end());
        } else if (fs::exists(path, error)) {
            settings.files.push_back(path);
        } else if (LooksLikeFile(word)) {
            Fail("{}: No such file or directory", word);
        } else {
            settings.expressions.push_back(word);
        }
    }
    if (settings.files.empty()) throw CLI::RequiredError("a file or folder that exists");
    if (settings.expressions.empty() && settings.where.empty() && settings.sortBy.empty())
        throw CLI::RequiredError("an expression");
}

void RunScan(const ScanOptions& options) {
    ScanSettings settings = options.scan;
    Sort(options.words, settings);
    if (settings.threads == 0) settings.threads = std::max(1u, std::thread::hardware_concurrency());
    const Library library = options.library.Load();
    std::vector<fs::path> read = settings.files;
    std::erase(read, fs::path("-"));
    TableOutput table(options.table, read, TableOutput::Kind::Separate);
    ScanResult scan = Scan(library, settings);
    if (options.top && scan.rows.size() > *options.top) scan.rows.resize(*options.top);

    std::vector<Result> cells(1 + scan.columns.size());
    cells[0].title = "date";
    for (std::size_t i = 0; i < scan.columns.size(); ++i) cells[i + 1] = {scan.columns[i]};
    if (scan.badFiles < settings.files.size()) {
        table.Begin(BarFile(BarHeader{{}, "symbol", {}}), cells);
        for (const ScanRow& row : scan.rows) {
            cells[0].text = &row.date;
            for (std::size_t i = 0; i < row.values.size(); ++i) cells[i + 1].value = &row.values[i];
            table.WriteBar(row.symbol, cells);
        }
        table.Finish();
    }
    TellAll(scan.warnings);
    if (options.notices) TellAll(scan.notices);
    if (!options.notices && !scan.notices.empty())
        Tell(fmt::format("{} notices of how files were read; --notices shows them", scan.notices.size()));
    TellAll(scan.faults);
    if (scan.badFiles > 0) Fail("{} of {} files are left out", scan.badFiles, settings.files.size());
}

}  // namespace

void AddScan(CLI::App& app, const std::string& library) {
    CLI::App& command = *app.add_subcommand("scan", "the last values of expressions over many files, a line for each");
    command.footer("What exists is a file, or a folder with files; everything else is an expression:\n"
                   "    study scan bars/ \"RSI(Close, 14)\" --where \"Close > Sim(Close, 200)\"\n"
                   "An expression that is also the name of a file goes into parentheses: \"(close)\".");
    const auto options = std::make_shared<ScanOptions>(ScanOptions{LibraryOptions{library}});
    ScanSettings& scan = options->scan;
    command.add_option("words", options->words, "files or folders of bars, and expressions, in any order")
        ->type_name("FILE|FOLDER|EXPRESSION")
        ->required();
    command.add_option("--where", scan.where, "only symbols for which this holds on the last bar")
        ->type_name("EXPRESSION");
    command.add_option("--sort", scan.sortBy, "the greatest values of this first, gaps last")->type_name("EXPRESSION");
    command.add_flag("--ascending", scan.ascending, "the smallest values first")->needs("--sort");
    command.add_option("--top", options->top, "only the first N symbols")->type_name("N")->check(WholeNumber(0));
    command.add_option("--threads", scan.threads, "how many work at a time: as many as there are processors")
        ->type_name("N")
        ->check(WholeNumber(1, 1024));
    command.add_flag("--skip-bad", scan.reading.leaveOutBad, "leave out lines that can't be read");
    AddFrame(command, scan.reading.to);
    AddLayout(command, scan.reading.layout);
    command.add_flag("--notices", options->notices, "tell how each file was read");
    AddTable(command, options->table);
    AddRunSettings(command, scan.run);
    AddDefinitions(command, options->library);
    scan.threads = 0;
    command.callback([options] { RunScan(*options); });
}

}  // namespace sarvane::study
