#include "explain/plan.h"

#include "commands/commands.h"
#include "commands/options.h"
#include "console.h"
#include "explain/explanation.h"
#include "failure.h"
#include "path.h"

namespace sarvane::study {
namespace {

struct ExplainOptions {
    StudyOptions study;
    bool plan = false;
    std::string at = {};
    bool json = false;
};

// Takes the values of one bar apart.
void ExplainBar(const ExplainOptions& options) {
    StudyOptions study = options.study;
    if (study.barFile.empty()) {
        study.barFile = study.expressions.front();
        study.expressions.erase(study.expressions.begin());
        if (study.expressions.empty()) throw CLI::RequiredError("an expression behind the file");
    }
    const Library library = study.library.Load();
    BarFile bars = study.ReadBars(library);
    if (bars.BarCount() == 0) Fail("{}: has no bars", bars.Name());
    const std::size_t bar = bars.BarOf(options.at);
    if (bar == bars.BarCount()) Fail("{} lies behind the last bar, {}", options.at, bars.Date(bar - 1));
    const auto explanation = ExplanationJson(Recording(library, bars, study.expressions, study.run, bar));
    Print(options.json ? JsonText(explanation) : ExplanationText(explanation));
}

void Explain(const ExplainOptions& options) {
    if (!options.at.empty()) return ExplainBar(options);
    const StudyOptions& study = options.study;
    const Library library = study.library.Load();
    const std::vector<std::string> columns =
        study.barFile.empty() ? std::vector<std::string>{"open", "high", "low", "close", "volume", "time"}
                              : ReadColumns(PathOf(study.barFile), study.reading.layout);
    Print(ExplainText(library, columns, study.expressions, study.run.operators, options.plan));
}

}  // namespace

void AddExplain(CLI::App& app, const std::string& library) {
    CLI::App& command =
        *app.add_subcommand("explain", "what expressions stand for, or how the values of one bar come about");
    const auto options = std::make_shared<ExplainOptions>(ExplainOptions{StudyOptions{LibraryOptions{library}}});
    StudyOptions& study = options->study;
    command
        .add_option("expressions", study.expressions,
                    "such as \"RSI(Close, 14)\"; with --at, a file of bars ahead of them")
        ->type_name("EXPRESSION")
        ->required();
    command.add_flag("--plan", options->plan, "the nodes that calculate them; equal parts are one node");
    const auto at = command
                        .add_option("--at", options->at,
                                    "take the values of the bar of this time apart; the first word is then the file "
                                    "of bars, if --bars does not name it")
                        ->type_name("TIME");
    command.add_flag("--json", options->json, "for programs, with all numbers")->needs(at);
    command.add_option("--bars", study.barFile, "a file of bars whose columns they may use")->type_name("FILE");
    AddReading(command, study.reading);
    AddRunSettings(command, study.run);
    AddDefinitions(command, study.library);
    command.callback([options] { Explain(*options); });
}

}  // namespace sarvane::study
