#include "explain.h"

#include "commands/commands.h"
#include "commands/options.h"
#include "console.h"
#include "path.h"

namespace sarvane::study {
namespace {

struct ExplainOptions {
    StudyOptions study;
    bool plan = false;
};

void Explain(const ExplainOptions& options) {
    const StudyOptions& study = options.study;
    const Library library = study.library.Load();
    const std::vector<std::string> columns = study.barFile.empty()
                                                 ? std::vector<std::string>{"open", "high", "low", "close", "volume"}
                                                 : ReadColumns(PathOf(study.barFile), study.reading.layout);
    Print(ExplainText(library, columns, study.expressions, study.run.operators, options.plan));
}

}  // namespace

void AddExplain(CLI::App& app, const std::string& library) {
    CLI::App& command = *app.add_subcommand("explain", "what expressions stand for, in their operators' words");
    const auto options = std::make_shared<ExplainOptions>(ExplainOptions{StudyOptions{LibraryOptions{library}}});
    StudyOptions& study = options->study;
    command.add_option("expressions", study.expressions, "such as \"RSI(Close, 14)\"")
        ->type_name("EXPRESSION")
        ->required();
    command.add_flag("--plan", options->plan, "the nodes that calculate them; equal parts are one node");
    command.add_option("--bars", study.barFile, "a file of bars whose columns they may use")->type_name("FILE");
    AddLayout(command, study.reading.layout);
    AddOperatorSettings(command, study.run.operators);
    AddDefinitions(command, study.library);
    command.callback([options] { Explain(*options); });
}

}  // namespace sarvane::study
