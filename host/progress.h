#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace sarvane::study {

// A bar on standard error for work that takes longer than a second, if that is a terminal.
class Progress {
public:
    // `total` is 0 where it is not known.
    Progress(std::string_view label, double total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // Takes the bar away, for output that would share its line.
    void Hide();
    void Update(double done) {
        if (++calls % CallsPerLook == 0) Look(done);
    }

    // For steps that take longer than looking at the clock.
    void Look(double done);

private:
    static constexpr unsigned CallsPerLook = 1024;  // the clock costs more than most steps

    std::string label;
    double total;
    unsigned calls = 0;
    bool terminal;
    bool shown = false;
    std::chrono::steady_clock::time_point nextDrawing;
};

}  // namespace sarvane::study
