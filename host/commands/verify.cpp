#include "commands/commands.h"
#include "commands/options.h"
#include "console.h"
#include "failure.h"
#include "path.h"
#include "verify/fingerprint.h"
#include "verify/reasons.h"
#include "verify/repaint.h"
#include "verify/warm_up.h"

#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <utility>

namespace sarvane::study {
namespace {

struct VerifyOptions {
    StudyOptions study;
    std::string against = {};
    std::string fingerprint = {};
    bool repaint = false;
    bool warmUp = false;
    std::string at = {};
    double tolerance = 1e-9;
};

// ---- --against

std::string AgreementText(const Agreement& agreement, const CommonBars& common, const OtherColumn& other,
                          std::span<const double> values) {
    const auto date = [&](std::size_t place) { return other.dates[common[place].second]; };
    std::string text = fmt::format("  compared    {} bars from {} on, of {} with equal times\n", agreement.compared,
                                   date(agreement.first), common.size());
    if (agreement.onlyHere + agreement.onlyThere > 0)
        text += fmt::format("  ends        before and behind these, values on {} bars only here, on {} only there\n",
                            agreement.onlyHere, agreement.onlyThere);
    if (agreement.compared == 0) return text;
    text += fmt::format("  digits      {} agree on most bars, {} at the worst, on {}\n", agreement.usualDigits,
                        agreement.worstDigits, date(agreement.worst));
    if (agreement.differing == 0) return text;
    const auto [here, there] = common[agreement.firstDifferent];
    const auto shown = [](double value) {
        return IsUndefined(value) ? std::string("no value") : fmt::format("{}", value);
    };
    return text + fmt::format("  differ      {} bars, from {} to {}; the first is {} here, {} there\n",
                              agreement.differing, date(agreement.firstDifferent), date(agreement.lastDifferent),
                              shown(values[here]), shown(other.values[there]));
}

void VerifyAgainst(const VerifyOptions& options, bool toleranceIsGiven) {
    constexpr std::string_view Prices[] = {"open", "high", "low", "close", "Adj Close"};
    const Library library = options.study.library.Load();
    const BarFile file = options.study.ReadBars(library, Prices);
    if (!file.HasTimes()) Fail("{}: has no times to find the bars of {} by", file.Name(), options.against);
    ReadSettings reading;
    reading.tell = Tell;
    const OtherColumn other = ReadOtherColumn(options.against, reading);
    const BarTable bars(file);
    const CommonBars common = FindCommonBars(bars.times, other.times);
    if (common.empty())
        Fail("no bar of {} has a time of {}: they begin with {} and {}", file.Name(), options.against,
             file.BarCount() > 0 ? file.Date(0) : "nothing", other.dates.empty() ? "nothing" : other.dates.front());
    const std::vector<std::string>& expressions = options.study.expressions;
    const ResultTable results = RunTable(library, bars, expressions, options.study.run);
    if (results.columns.empty()) Fail("the expressions give no column to compare");
    const Tolerance tolerance{options.tolerance};
    const Agreement plain = Compare(common, results.values.back(), other, tolerance);
    Print(fmt::format("{} against {}\n", results.columns.back().title, options.against) +
          AgreementText(plain, common, other, results.values.back()));
    if (plain.compared == 0) throw FailedCheck("no bar has a value in both");
    if (plain.differing == 0) {
        Print(fmt::format("  result      all agree, within {} of the value\n", options.tolerance));
        return;
    }
    const auto found = FindReasons(library, bars, expressions, options.study.run, other, tolerance);
    if (found.empty()) Print("  result      no reason found\n");
    for (const Explanation& explanation : found) {
        const char* word = &explanation == found.data() ? "reason" : "or";
        for (const std::string& reason : explanation.reasons)
            Print(fmt::format("  {:10}  {}\n", std::exchange(word, "and"), reason));
        Print(fmt::format("  {:10}  with that, all {} bars agree\n", "", explanation.agreement.compared));
    }
    // Printed digits that agree are all that a file with rounded numbers can tell.
    const bool isRounding = !found.empty() && found.front().reasons.size() == 1 && found.front().isPrintedRounding;
    if (isRounding && !toleranceIsGiven) {
        Print("  result      all agree, as far as the file's decimals go\n");
        return;
    }
    throw FailedCheck(fmt::format("{} of {} values differ", plain.differing, plain.compared));
}

// ---- --fingerprint

void VerifyFingerprint(const VerifyOptions& options) {
    std::ifstream file(PathOf(options.fingerprint), std::ios::binary);
    if (!file) Fail("{}: can't be read", options.fingerprint);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const RunFingerprint there = RunFingerprint::FromJson(text, options.fingerprint);
    StudyOptions study = options.study;
    if (study.expressions.empty()) study.expressions = there.expressions;
    const Library library = study.library.Load();
    const BarFile bars = study.ReadBars(library);
    const RunFingerprint here = FingerprintRun(library, bars, study.expressions, there.settings, there.allOutputs);
    const std::vector<std::string> differences = DifferencesBetween(here, there);
    for (const std::string& line : differences) Print(line + '\n');
    if (!differences.empty()) throw FailedCheck(fmt::format("the run is not that of {}", options.fingerprint));
    Print(fmt::format("{} bars, {} inputs and {} outputs are those of {}, to the last bit\n", here.bars,
                      here.inputs.size(), here.outputs.size(), options.fingerprint));
}

// ---- --repaint

void VerifyRepaint(const VerifyOptions& options) {
    const Library library = options.study.library.Load();
    const BarFile bars = options.study.ReadBars(library);
    std::size_t repainting = 0;
    for (const RepaintResult& result : FindRepaints(library, bars, options.study.expressions, options.study.run)) {
        Print(RepaintText(result, bars));
        repainting += !result.repaints.empty() || result.tickBars > 0;
    }
    if (repainting > 0) throw FailedCheck(fmt::format("{} columns change values that were shown before", repainting));
}

// ---- --warm-up

void ShowWarmUp(const VerifyOptions& options) {
    const Library library = options.study.library.Load();
    BarFile bars = options.study.ReadBars(library);
    if (bars.BarCount() == 0) Fail("{}: has no bars", bars.Name());
    const std::size_t bar = options.at.empty() ? bars.BarCount() - 1 : bars.BarOf(options.at);
    if (bar == bars.BarCount()) Fail("{} lies behind the last bar, {}", options.at, bars.Date(bar - 1));
    Print(WarmUpText(library, bars, options.study.expressions, options.study.run, bar));
}

void Verify(const VerifyOptions& options, bool toleranceIsGiven) {
    if (options.study.expressions.empty() && options.fingerprint.empty()) throw CLI::RequiredError("an expression");
    if (!options.against.empty()) return VerifyAgainst(options, toleranceIsGiven);
    if (!options.fingerprint.empty()) return VerifyFingerprint(options);
    if (options.repaint) return VerifyRepaint(options);
    if (options.warmUp) return ShowWarmUp(options);
    throw CLI::RequiredError("--against, --fingerprint, --repaint or --warm-up");
}

}  // namespace

void AddVerify(CLI::App& app, const std::string& library) {
    CLI::App& command = *app.add_subcommand(
        "verify", "check a run against another program's numbers, another machine's, or what it showed before");
    const auto options = std::make_shared<VerifyOptions>(VerifyOptions{StudyOptions{LibraryOptions{library}}});
    AddStudy(command, options->study);
    command.get_option("expressions")->required(false);
    AddReading(command, options->study.reading);
    const auto against =
        command.add_option("--against", options->against,
                           "compare the last expression with a column of another program, by time, and "
                           "look for the reason of differences");
    against->type_name("FILE:COLUMN");
    const auto tolerance =
        command
            .add_option("--tolerance", options->tolerance, "difference that counts as none, as a share of the value")
            ->type_name("SHARE")
            ->needs(against)
            ->capture_default_str()
            ->check(ZeroOrAbove());
    const auto fingerprint =
        command
            .add_option("--fingerprint", options->fingerprint,
                        "check that the run is the one that `study run --fingerprint` wrote to this file, to the "
                        "last bit; its expressions and settings are taken from there")
            ->type_name("FILE")
            ->excludes(against);
    const auto repaint =
        command
            .add_flag("--repaint", options->repaint,
                      "go through the bars one by one and list every bar whose value or label changed later")
            ->excludes(against)
            ->excludes(fingerprint);
    const auto warmUp =
        command
            .add_flag("--warm-up", options->warmUp,
                      "show how much a value depends on where the data start, and from which bar on it is settled")
            ->excludes(against)
            ->excludes(fingerprint)
            ->excludes(repaint);
    command.add_option("--at", options->at, "the bar whose value it is; the last one")
        ->type_name("TIME")
        ->needs(warmUp);
    command.callback([options, tolerance] { Verify(*options, tolerance->count() > 0); });
}

}  // namespace sarvane::study
