#pragma once

#include "live.h"

#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace sarvane::study {

struct AlertSettings {
    std::vector<std::string> conditions;
    std::string command;        // a program to start; empty for none
    bool throughShell = false;  // `command` is a line for the system's shell
    bool notify = false;        // on the desktop, and by the terminal's bell
    bool atClose = false;       // once the bar is over, instead of as soon as the condition holds
};

// Tells the user, and starts a program, when conditions hold on the newest bar: once a bar for each condition, whatever
// ticks and corrections come later. A program gets what happened in its environment: STUDY_FILE, STUDY_TIME,
// STUDY_CONDITION, and STUDY_VALUES, the results of the bar as a JSON object.
class Alerts {
public:
    // `whenFired` is given the date of the bar and the condition that holds there.
    using Fired = std::function<void(std::string_view, const std::string&)>;
    Alerts(
        AlertSettings settings, std::string file, Fired whenFired = [](std::string_view, const std::string&) {});
    ~Alerts();
    Alerts(const Alerts&) = delete;
    Alerts& operator=(const Alerts&) = delete;

    const std::vector<std::string>& Conditions() const { return settings.conditions; }
    // The bars so far are history, for which nothing happens.
    void Start(const Live& live);
    // Looks at what has come since the last call.
    void Look(const Live& live);

private:
    void LookAt(const Live& live, std::size_t bar);
    void Fire(const Live& live, std::size_t bar, const std::string& condition);
    void StartProgramFor(const Live& live, std::size_t bar, const std::string& condition);
    void Collect();

    AlertSettings settings;
    std::string file;
    Fired tellFired;
    std::string openBar;                                  // date of the newest bar at the last look
    std::set<std::pair<std::size_t, std::string>> fired;  // conditions and dates
    std::vector<long long> running;                       // programs
};

}  // namespace sarvane::study
