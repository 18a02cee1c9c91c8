#include "commands/commands.h"
#include "commands/options.h"
#include "console.h"
#include "description.h"

#include <nlohmann/json.hpp>

namespace sarvane::study {
namespace {

struct ListOptions {
    LibraryOptions library;
    bool json = false;
};

void List(const ListOptions& options) {
    const Library library = options.library.Load();
    Print(options.json ? JsonText(ListJson(library)) : ListText(library));
}

}  // namespace

void AddList(CLI::App& app, const std::string& library) {
    CLI::App& command = *app.add_subcommand("list", "all operators: keyword, class, inputs, parameters, outputs");
    const auto options = std::make_shared<ListOptions>(ListOptions{LibraryOptions{library}});
    command.add_flag("--json", options->json, "for programs");
    command.callback([options] { List(*options); });
}

}  // namespace sarvane::study
