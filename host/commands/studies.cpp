#include "commands/commands.h"
#include "commands/options.h"
#include "console.h"
#include "study_description.h"

#include <nlohmann/json.hpp>

namespace sarvane::study {
namespace {

struct StudiesOptions {
    LibraryOptions library;
    bool json = false;
    bool markdown = false;
};

void ListStudies(const StudiesOptions& options) {
    const Library library = options.library.Load();
    if (options.markdown) return Print(StudiesMarkdown(library));
    Print(options.json ? JsonText(StudiesJson(library)) : StudiesText(library));
}

}  // namespace

void AddStudies(CLI::App& app, const std::string& library) {
    CLI::App& command = *app.add_subcommand("studies", "all studies that are defined on the operators");
    const auto options = std::make_shared<StudiesOptions>(StudiesOptions{LibraryOptions{library}});
    CLI::Option* const json = command.add_flag("--json", options->json, "for programs");
    command.add_flag("--markdown", options->markdown, "all about them, for documents")->excludes(json);
    AddDefinitions(command, options->library);
    command.callback([options] { ListStudies(*options); });
}

}  // namespace sarvane::study
