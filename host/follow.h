#pragma once

#include "alerts.h"
#include "study.h"
#include "table/table_output.h"

#include <string>
#include <vector>

namespace sarvane::study {

struct FollowSettings {
    std::string file;  // "-" for standard input
    std::vector<std::string> expressions;
    bool allOutputs = false;
    RunSettings run = {};
    std::size_t snapshotDistance = 0;
    bool follow = true;  // beyond the present end of a file
    AlertSettings alerts = {};
    LayoutSettings layout = {};
};

// Runs expressions over a file of bars, writes each change to `table`, and reports at the end on standard error. A line
// that can't be taken is told there and left out. A regular file is read to its end before its first bar is shown, and
// followed as it grows or is written anew, until a signal ends the program. What a file holds at first alerts nobody.
void RunLive(const Library& library, const FollowSettings& settings, TableOutput& table);

}  // namespace sarvane::study
