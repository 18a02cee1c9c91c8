#pragma once

#include <CLI/CLI.hpp>
#include <string>

// The commands of the program, one a file. Each function adds its command with all options to `app`; parsing a command
// line runs it. `library` is read when it runs: the file of the operator library, or nothing for the one nearby.
namespace sarvane::study {

void AddCompletion(CLI::App& app, const std::string& library);
void AddComplete(CLI::App& app, const std::string& library);
void AddShare(CLI::App& app, const std::string& library);
void AddHelp(CLI::App& app, const std::string& library);
void AddList(CLI::App& app, const std::string& library);
void AddStudies(CLI::App& app, const std::string& library);
void AddDescribe(CLI::App& app, const std::string& library);
void AddExplain(CLI::App& app, const std::string& library);
void AddRun(CLI::App& app, const std::string& library);
void AddLive(CLI::App& app, const std::string& library);
void AddScan(CLI::App& app, const std::string& library);
void AddReplay(CLI::App& app, const std::string& library);
void AddChart(CLI::App& app, const std::string& library);
void AddBars(CLI::App& app, const std::string& library);
void AddVerify(CLI::App& app, const std::string& library);

}  // namespace sarvane::study
