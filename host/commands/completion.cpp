#include "commands/completion.h"

#include "bars/bar_file.h"
#include "commands/commands.h"
#include "commands/options.h"
#include "commands/usage.h"
#include "console.h"
#include "path.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace sarvane::study {
namespace {

namespace fs = std::filesystem;

bool IsLetter(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_'; }

std::string Lower(std::string text) {
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// The first file among the words, or in a folder among them. Empty if there is none.
fs::path FileIn(const std::vector<std::string>& words) {
    std::error_code error;
    for (const std::string& word : words) {
        const fs::path path = PathOf(word);
        if (fs::is_regular_file(path, error)) return path;
        for (const fs::directory_entry& entry : fs::directory_iterator(path, error)) {
            if (entry.path().extension() == ".csv") return entry.path();
        }
    }
    return {};
}

std::vector<std::string> ColumnsOfFileIn(const std::vector<std::string>& words) {
    const fs::path file = FileIn(words);
    if (file.empty()) return {};
    try {
        return ReadColumns(file);
    } catch (const std::exception&) {  // the command will tell
        return {};
    }
}

class Completer {
public:
    Completer(const CLI::App& program, const std::string& operatorLibrary, const std::vector<std::string>& words)
        : app(program), library(operatorLibrary), before(words.begin(), words.end() - 1), current(words.back()) {}

    std::vector<std::string> Find() {
        const CLI::App* const command = CommandOf(app, before);
        const CLI::Option* const asked = before.empty() ? nullptr : FindOption(command ? *command : app, before.back());
        const bool onlyArguments = std::ranges::find(before, "--") != before.end();
        if (asked && TakesValue(*asked) && !onlyArguments)
            AddValues(asked->get_type_name());
        else if (current.starts_with('-') && !onlyArguments)
            AddOptions(command ? *command : app);
        else if (!command)
            AddCommands();
        else if (const CLI::Option* const argument = ArgumentAt(*command))
            AddValues(argument->get_type_name());
        return found;
    }

private:
    // Letters that have been typed stay as they are: shells complete by exact letters, and names have no case.
    void Add(const std::string& word, const std::string& meaning, const std::string& head = "") {
        const std::string whole = head + word;
        if (Lower(whole).starts_with(Lower(current)))
            found.push_back(current + whole.substr(current.size()) + '\t' + meaning);
    }

    void AddOptions(const CLI::App& command) {
        for (const CLI::Option* const option : command.get_options()) {
            for (const std::string& name : option->get_lnames()) Add("--" + name, option->get_description());
        }
    }

    void AddCommands() {
        for (const std::string& name : CommandNames(app)) Add(name, app.get_subcommand(name)->get_description());
    }

    // `type` is what help shows in the value's place.
    void AddValues(const std::string& type) {
        std::istringstream kinds(type);
        for (std::string kind; std::getline(kinds, kind, '|');) {
            const bool isWord = std::ranges::none_of(kind, [](unsigned char c) { return std::isupper(c) != 0; });
            if (kind == "FILE") found.emplace_back(FilesToo);
            if (kind == "EXPRESSION" || kind == "CONDITION") AddNames(true);
            if (kind == "KEYWORD") AddNames(false);
            if (kind == "COMMAND") AddCommands();
            if (isWord) Add(kind, "");
        }
    }

    // Where `inExpression`, columns too, for the last name of what has been typed.
    void AddNames(bool inExpression) {
        std::size_t begin = current.size();
        while (inExpression && begin > 0 && IsLetter(current[begin - 1])) --begin;
        const std::string head = inExpression ? current.substr(0, begin) : "";
        if (inExpression) {
            for (const std::string& column : ColumnsOfFileIn({before.begin() + 1, before.end()})) {
                if (std::ranges::all_of(column, IsLetter)) Add(column, "column", head);
            }
            Add("Bar", "open, high, low and close", head);
        }
        try {
            const Library loaded = LibraryOptions{library}.Load();
            for (const OperatorClass& known : loaded.Classes()) Add(known.keyword, known.sentence, head);
            for (const auto& definition : loaded.Studies()->Studies().All())
                Add(definition->statement.name, "study", head);
        } catch (const std::exception&) {  // the command will tell
        }
    }

    // The argument that is being typed.
    const CLI::Option* ArgumentAt(const CLI::App& command) const {
        std::size_t place = 0;
        bool onlyArguments = false, isBehindCommand = false;
        for (std::size_t i = 0; i < before.size(); ++i) {
            const CLI::Option* const option = i > 0 ? FindOption(command, before[i - 1]) : nullptr;
            const bool isValue = isBehindCommand && !onlyArguments && option && TakesValue(*option);
            const bool isOption = !onlyArguments && before[i].size() > 1 && before[i].starts_with('-');
            onlyArguments |= before[i] == "--";
            if (isBehindCommand && !isValue && !isOption) ++place;
            isBehindCommand |= before[i] == command.get_name();
        }
        const CLI::Option* last = nullptr;
        for (const CLI::Option* const option : command.get_options()) {
            if (!option->get_positional()) continue;
            last = option;
            if (place-- == 0) return option;
        }
        return last && last->get_items_expected_max() > 1 ? last : nullptr;
    }

    const CLI::App& app;
    const std::string& library;
    std::vector<std::string> before;
    std::string current;
    std::vector<std::string> found;
};

constexpr const char* BashScript = R"(# Completion of `study` for bash.
_study() {
    local line word words=()
    for word in "${COMP_WORDS[@]:1:COMP_CWORD}"; do
        word=${word#[\"\']}
        words+=("${word%[\"\']}")
    done
    local current=${words[${#words[@]} - 1]}
    COMPREPLY=()
    while IFS= read -r line; do
        if [ "$line" = :files ]; then
            compopt -o filenames
            while IFS= read -r word; do COMPREPLY+=("$word"); done < <(compgen -f -- "$current")
        else
            COMPREPLY+=("${line%%$'\t'*}")
        fi
    done < <("${COMP_WORDS[0]}" complete -- "${words[@]}" 2>/dev/null)
    # An expression may go on behind a name.
    [[ $current == -* || $COMP_CWORD -eq 1 ]] || compopt -o nospace
}
complete -F _study study
)";

constexpr const char* ZshScript = R"(#compdef study
# Completion of `study` for zsh.
_study() {
    local line word
    local -a typed names meanings
    local -i files=0
    for word in "${(@)words[2,CURRENT]}"; do
        word=${word#[\"\']}
        typed+=("${word%[\"\']}")
    done
    for line in "${(@f)$("${words[1]}" complete -- "${typed[@]}" 2>/dev/null)}"; do
        if [[ $line == :files ]]; then
            files=1
        elif [[ -n $line ]]; then
            names+=("${line%%$'\t'*}")
            meanings+=("${line%%$'\t'*}  ${line#*$'\t'}")
        fi
    done
    (( ! files )) || _files
    (( ! $#names )) || compadd -l -d meanings -a names
}
if [[ $funcstack[1] == _study ]]; then _study "$@"; else compdef _study study; fi
)";

constexpr const char* FishScript = R"(# Completion of `study` for fish.
function __study_complete
    set -l current (commandline -ct | string trim -l -c '"\'')
    set -q current[1]; or set current ''
    set -l words (commandline -opc) $current
    for line in ($words[1] complete -- $words[2..-1] 2>/dev/null)
        if test "$line" = :files
            __fish_complete_path "$current"
        else
            echo $line
        end
    end
end
complete -c study -f -a '(__study_complete)'
)";

}  // namespace

std::vector<std::string> Completions(const CLI::App& app, const std::string& library,
                                     const std::vector<std::string>& words) {
    return Completer(app, library, words.empty() ? std::vector<std::string>{""} : words).Find();
}

std::string CompletionScript(const std::string& shell) {
    return shell == "bash" ? BashScript : shell == "zsh" ? ZshScript : FishScript;
}

void AddCompletion(CLI::App& app, const std::string&) {
    CLI::App& command = *app.add_subcommand("completion", "a script that completes command lines in your shell");
    command.footer("An installed program completes by itself. Else: source <(study completion bash)");
    const auto shell = std::make_shared<std::string>();
    OneOf(*command.add_option("shell", *shell, "bash, zsh or fish")->required(), {"bash", "zsh", "fish"});
    command.callback([shell] { Print(CompletionScript(*shell)); });
}

// Not for users: what the scripts call.
void AddComplete(CLI::App& app, const std::string& library) {
    CLI::App& command = *app.add_subcommand("complete", "what can stand in the place of the last word")->group("");
    const auto words = std::make_shared<std::vector<std::string>>();
    command.add_option("words", *words, "behind the program's name");
    command.callback([&app, &library, words] {
        for (const std::string& line : Completions(app, library, *words)) PrintData(line + '\n');
    });
}

}  // namespace sarvane::study
