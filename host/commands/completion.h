#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace sarvane::study {

// What can stand in the place of the last of the words behind `study`, each with a tab and what it is; and FilesToo where
// a file can stand there.
std::vector<std::string> Completions(const CLI::App& app, const std::string& library,
                                     const std::vector<std::string>& words);
inline constexpr std::string_view FilesToo = ":files";

// The script with which a shell asks for them: "bash", "zsh" or "fish".
std::string CompletionScript(const std::string& shell);

}  // namespace sarvane::study
