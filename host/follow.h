#pragma once

#include "alerts.h"
#include "study.h"
#include "table/table_output.h"

#include <mutex>
#include <span>
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
    FrameSettings to = {};
};

// What a run that follows a file tells as it goes on.
class FollowOutput {
public:
    virtual ~FollowOutput() = default;

    // Held while bars and their results change, for outputs that read them in other threads.
    virtual std::unique_lock<std::mutex> Lock() { return {}; }
    // The columns are known, at first or once a file with others has taken the place of the one before. `live` stays until
    // the next call or `Release`.
    virtual void Start(const Live&) {}
    // The results of a bar have changed.
    virtual void ShowBar(const Live&, std::size_t) {}
    // A row was taken in: `bar` is new, or was `before`.
    virtual void TakeRow(std::size_t, const std::vector<double>*) {}
    // All bars from this one on may be others, or gone.
    virtual void TakeBarsFrom(std::size_t) {}
    virtual void Alert(std::string_view, const std::string&) {}
    // All that there is at present was taken.
    virtual void Flush() {}
    virtual bool IsWanted() { return true; }
    // The input has ended, or a signal came.
    virtual void Finish() {}
    // The bars are about to go, also after a failure.
    virtual void Release() {}
};

// Writes each change to a table.
class FollowTable : public FollowOutput {
public:
    explicit FollowTable(TableOutput& output) : table(output) {}
    void Start(const Live&) override { hasHeading = false; }
    void ShowBar(const Live& live, std::size_t bar) override;
    void Flush() override { table.Flush(); }
    bool IsWanted() override { return table.IsWanted(); }
    void Finish() override { table.Finish(); }

private:
    TableOutput& table;
    bool hasHeading = false;
};

// Runs expressions over a file of bars, gives each change to `output`, and reports at the end on standard error. A line
// that can't be taken is told there and left out. A regular file is read to its end before its first bar is shown, and
// followed as it grows or is written anew, until a signal ends the program. What a file holds at first alerts nobody.
// `besides`: columns with these standard names are read also where no expression does.
void RunLive(const Library& library, const FollowSettings& settings, FollowOutput& output,
             std::span<const std::string_view> besides = {});

}  // namespace sarvane::study
