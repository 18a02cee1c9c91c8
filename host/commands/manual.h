#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace sarvane::study {

// The manual page of the program, or of one of its commands, for `man`.
std::string ManualPage(const CLI::App& app, const CLI::App* command);

}  // namespace sarvane::study
