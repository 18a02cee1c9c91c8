#include "commands/commands.h"
#include "commands/options.h"
#include "console.h"
#include "description.h"
#include "study_description.h"

#include <nlohmann/json.hpp>

namespace sarvane::study {
namespace {

struct DescribeOptions {
    LibraryOptions library;
    std::string keyword = {};
    std::vector<std::string> arguments = {};
    OperatorSettings operators = {};
    bool json = false;
    bool markdown = false;
};

void DescribeOne(const DescribeOptions& options) {
    const Library library = options.library.Load();
    const auto show = [&](const auto& described) {
        Print(options.json ? JsonText(DescribeJson(library, described, options.arguments, options.operators))
                           : DescribeText(library, described, options.arguments, options.operators));
    };
    if (const Definition* const study = library.Studies()->Studies().Find(options.keyword))
        return options.markdown ? Print(DescribeMarkdown(*study)) : show(*study);
    options.markdown ? Print(DescribeMarkdown(library.FindOrFail(options.keyword))) : show(options.keyword);
}

}  // namespace

void AddDescribe(CLI::App& app, const std::string& library) {
    CLI::App& command =
        *app.add_subcommand("describe", "what an operator or a study says of itself with given arguments");
    const auto options = std::make_shared<DescribeOptions>(DescribeOptions{LibraryOptions{library}});
    command.add_option("keyword", options->keyword, "as in `study list` or `study studies`")
        ->type_name("KEYWORD")
        ->required();
    command.add_option("arguments", options->arguments,
                       "of an operator from argument 1 on, of a study those with a default; '' leaves one as it is");
    CLI::Option* const json = command.add_flag("--json", options->json, "for programs");
    command.add_flag("--markdown", options->markdown, "only its arguments, as a table for documents")->excludes(json);
    AddDefinitions(command, options->library);
    AddOperatorSettings(command, options->operators);
    command.callback([options] { DescribeOne(*options); });
}

}  // namespace sarvane::study
