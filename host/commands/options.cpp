#include "commands/options.h"

#include "bars/column_names.h"
#include "console.h"
#include "failure.h"
#include "output_file.h"
#include "path.h"
#include "verify/warm_up.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fmt/ranges.h>
#include <map>
#include <nlohmann/json.hpp>

namespace sarvane::study {
namespace {

// Nothing, unless the whole text is a number.
template <class Number>
std::optional<Number> NumberIn(const std::string& text) {
    Number number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

// Also what is empty.
std::vector<std::string> SplitAtCommas(std::string_view text) {
    std::vector<std::string> parts;
    while (true) {
        const std::size_t comma = std::min(text.find(','), text.size());
        parts.emplace_back(WithoutBlanks(text.substr(0, comma)));
        if (comma == text.size()) return parts;
        text.remove_prefix(comma + 1);
    }
}

}  // namespace

Library LibraryOptions::Load() const {
    std::vector<std::filesystem::path> files;
    for (const std::string& definition : definitions) files.push_back(PathOf(definition));
    return Library(PathOf(file), files);
}

BarFile StudyOptions::ReadBars(const Library& loaded, std::span<const std::string_view> besides) const {
    ReadSettings settings = reading;
    settings.tell = Tell;
    settings.wanted = [&](const std::vector<std::string>& titles, const std::vector<bool>& hasNumbers) {
        return WithColumns(besides, titles, hasNumbers, WantedBy(loaded, titles, expressions, run.operators));
    };
    if (barFile != "-") RefuseAsStandardOutput(PathOf(barFile));
    return BarFile(PathOf(barFile), settings);
}

void StudyOptions::AddTo(Study& study, bool allOutputs) const {
    for (const std::string& expression : expressions) study.Add(expression, allOutputs);
    TellAll(study.Warnings());
}

std::vector<StartNotice> StudyOptions::Settle(const Library& loaded, const BarFile& bars, Study& study, bool allOutputs,
                                              std::size_t firstShown) const {
    if (!settled) return UnsettledNotices(loaded, bars, expressions, run, allOutputs, firstShown);
    std::vector<std::size_t> first;
    std::vector<StartNotice> notices;
    for (const auto& bar : BarsUntilSettled(loaded, BarTable(bars), expressions, run, allOutputs, *settled)) {
        if (!bar)
            notices.push_back({fmt::format("{}: on no bar are {} digits known to be settled; all values are blank",
                                           study.Results()[first.size()].title, *settled),
                               bars.BarCount()});
        first.push_back(bar.value_or(bars.BarCount()));
    }
    study.BlankAhead(std::move(first));
    return notices;
}

std::vector<std::filesystem::path> StudyOptions::FilesRead() const {
    std::vector<std::filesystem::path> files;
    if (barFile != "-") files.push_back(PathOf(barFile));
    if (!library.file.empty()) files.push_back(PathOf(library.file));
    for (const std::string& definition : library.definitions) files.push_back(PathOf(definition));
    return files;
}

void AddDefinitions(CLI::App& command, LibraryOptions& options) {
    command.add_option("--define", options.definitions, "a file of studies for expressions to use; can be repeated")
        ->type_name("FILE")
        ->allow_extra_args(false);
}

void AddOperatorSettings(CLI::App& command, OperatorSettings& settings) {
    command.add_option("--history", settings.history, "bars that operators keep where no argument says how many")
        ->type_name("N")
        ->check(WholeNumber(1, std::numeric_limits<int>::max()))
        ->capture_default_str();
    command.add_option("--digits", settings.digits, "of precision of the averages that round: 4 to 15")
        ->type_name("N")
        ->check(WholeNumber(4, 15));
}

void AddRunSettings(CLI::App& command, RunSettings& settings) {
    command.add_flag("--hold", settings.hold, "bar arithmetic repeats missing inputs");
    command.add_option("--price-step", settings.priceStep, "the step that stops are rounded to, above 0")
        ->type_name("STEP")
        ->check(AboveZero());
    AddOperatorSettings(command, settings.operators);
}

void AddStudy(CLI::App& command, StudyOptions& options) {
    command.add_option("bars", options.barFile, "a file of bars, '-' for standard input")
        ->type_name("FILE")
        ->required();
    command.add_option("expressions", options.expressions, "such as \"Sim(Close, 5)\"")
        ->type_name("EXPRESSION")
        ->required();
    AddRunSettings(command, options.run);
    AddDefinitions(command, options.library);
}

void AddSettled(CLI::App& command, StudyOptions& options) {
    command
        .add_option("--settled", options.settled,
                    "leave out values at the start of which fewer than DIGITS digits are settled: they still depend on "
                    "where the data start")
        ->type_name("DIGITS")
        ->check(WholeNumber(1, 15));
}

void AddReading(CLI::App& command, ReadSettings& settings) {
    command.add_flag("--skip-bad", settings.leaveOutBad, "report lines that can't be read, and leave them out");
    command.add_flag("--sort", settings.sort, "put lines in the order of their times");
    AddFrame(command, settings.to);
    AddLayout(command, settings.layout);
}

void AddFrame(CLI::App& command, FrameSettings& settings) {
    CLI::Option* const to = command
                                .add_option_function<std::string>(
                                    "--to",
                                    [&settings](const std::string& text) {
                                        Outcome<Frame> frame = Frame::Read(text);
                                        if (!frame) throw CLI::ValidationError("--to", frame.Fault().message);
                                        settings.frame = std::make_shared<const Frame>(std::move(*frame));
                                    },
                                    "make bars of this frame first, of bars or trades: 5min, 1h, 1d, 1W, 1M, "
                                    "'1h 09:30 America/New_York', 100ticks, 10000volume, 2range, 2renko, heikinashi")
                                ->type_name("FRAME");
    command.add_flag("--fill", settings.fills, "stretches of the session without a row become bars, too")->needs(to);
}

void AddLayout(CLI::App& command, LayoutSettings& settings) {
    const auto ofLayout = [](CLI::Option* option) {
        option->group("Options of the file's layout, which else is found out");
    };
    const auto delimiter = command.add_option_function<std::string>(
        "--delimiter", [&settings](const std::string& text) { settings.delimiter = DelimiterOf(text); },
        "what stands between columns: comma, semicolon, tab, pipe, space, or another character");
    delimiter->type_name("CHARACTER")
        ->check(CLI::Validator(
            [](const std::string& text) {
                return DelimiterOf(text) ? std::string() : Quoted(text) + " is no delimiter";
            },
            ""));
    ofLayout(delimiter);
    const auto decimal = command.add_option_function<std::string>(
        "--decimal",
        [&settings](const std::string& word) { settings.decimal = word == "comma" || word == "," ? ',' : '.'; },
        "what decimals begin with");
    OneOf(*decimal, {"point", "comma"});
    ofLayout(decimal);
    const auto names = command.add_option_function<std::string>(
        "--names", [&settings](const std::string& text) { settings.names = SplitAtCommas(text); },
        "names of the columns from the left, with commas between them; one without a name is left out");
    ofLayout(names->type_name("NAME,..."));
    ofLayout(command.add_flag("--no-header", settings.noHeader, "the first line is one of data"));
    const auto times = command.add_option_function<std::string>(
        "--time-format", [&settings](const std::string& text) { settings.times = TimeFormatOf(text); },
        "day-first, month-first, unix, unix-ms, unix-us, unix-ns, or a pattern such as \"%d.%m.%y %H:%M\"");
    times->type_name("FORMAT")->check(CLI::Validator(
        [](const std::string& text) {
            return TimeFormatOf(text) ? std::string()
                                      : Quoted(text) + " is no format of times with year, month and day";
        },
        ""));
    ofLayout(times);
    const auto encoding = command.add_option_function<std::string>(
        "--encoding", [&settings](const std::string& name) { settings.encoding = EncodingOf(name); },
        "of the file's characters");
    OneOf(*encoding, {"utf-8", "utf-16le", "utf-16be", "latin-1"});
    ofLayout(encoding);
    ofLayout(command.add_flag("--text-as-gap", settings.textIsGap, "a cell that is no number is a missing one"));
}

CLI::Option* AddAlerts(CLI::App& command, AlertSettings& alerts) {
    CLI::Option* const when = command
                                  .add_option("--when", alerts.conditions,
                                              "tell when this holds on the newest bar, once a bar; can be repeated")
                                  ->type_name("CONDITION")
                                  ->allow_extra_args(false);
    CLI::Option* const exec =
        command
            .add_option("--exec", alerts.command,
                        "then start this program, with STUDY_FILE, STUDY_TIME, STUDY_CONDITION and STUDY_VALUES (JSON) "
                        "in its environment")
            ->type_name("PROGRAM")
            ->needs(when);
    command.add_flag("--shell", alerts.throughShell, "--exec is a line for the system's shell")->needs(exec);
    command.add_flag("--notify", alerts.notify, "then notify the desktop and ring the terminal's bell")->needs(when);
    CLI::Option* const moment = command.add_option_function<std::string>(
        "--at", [&alerts](const std::string& word) { alerts.atClose = word == "close"; },
        "as soon as the condition holds, or at the end of the bar, with its last values");
    OneOf(*moment->needs(when), {"tick", "close"});
    return when;
}

void AddTable(CLI::App& command, TableOptions& options) {
    static const std::map<std::string, TableFormat> formats = {{"table", TableFormat::Screen},
                                                               {"csv", TableFormat::Csv},
                                                               {"tsv", TableFormat::Tsv},
                                                               {"json", TableFormat::Json},
                                                               {"ndjson", TableFormat::Ndjson}};
    OneOf(*command.add_option_function<std::string>(
              "--format", [&options](const std::string& name) { options.format = formats.at(name); },
              "of the file if there is one, else of standard output"),
          {"table", "csv", "tsv", "json", "ndjson"});
    command
        .add_option("-o,--output", options.file,
                    "write the table to this file with all digits, as csv or what its ending says; '-' is standard "
                    "output, else the table is shown there, too")
        ->type_name("FILE");
    command.add_option("--na", options.missing, "what stands for a gap: '-' in a table, nothing in csv and tsv")
        ->type_name("TEXT");
    command.add_option("--precision", options.precision, "decimals of numbers: those of the bars in a table, else all")
        ->type_name("N")
        ->check(WholeNumber(0, 17));
}

// CLI11's own check would show the largest number as the upper bound.
CLI::Validator WholeNumber(long long least, long long most) {
    const bool isBounded = most != std::numeric_limits<long long>::max();
    const auto check = [least, most, isBounded](const std::string& text) {
        const auto number = NumberIn<long long>(text);
        if (number && *number >= least && *number <= most) return std::string();
        return fmt::format("{} is no whole number from {} {}", text, least,
                           isBounded ? fmt::format("to {}", most) : std::string("on"));
    };
    return {check, ""};
}

CLI::Validator AboveZero() {
    const auto check = [](const std::string& text) {
        const auto number = NumberIn<double>(text);
        return number && *number > 0.0 && std::isfinite(*number) ? "" : fmt::format("{} is no number above 0", text);
    };
    return {check, ""};
}

CLI::Validator ZeroOrAbove() {
    const auto check = [](const std::string& text) {
        const auto number = NumberIn<double>(text);
        return number && *number >= 0.0 && std::isfinite(*number) ? "" : fmt::format("{} is no number from 0 on", text);
    };
    return {check, ""};
}

void OneOf(CLI::Option& option, const std::vector<std::string>& words) {
    const auto check = [words](const std::string& text) {
        if (std::ranges::find(words, text) != words.end()) return std::string();
        return fmt::format("{} is none of {}", Quoted(text), fmt::join(words, ", "));
    };
    option.type_name(fmt::format("{}", fmt::join(words, "|")))->check({check, ""});
}

void TellAll(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) Tell(line);
}

std::string JsonText(const nlohmann::ordered_json& json) {
    return json.dump(2, ' ', true, nlohmann::json::error_handler_t::replace) + '\n';
}

}  // namespace sarvane::study
