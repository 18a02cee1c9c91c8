#pragma once

#include "chart.h"
#include "chart_server/server.h"
#include "follow.h"

#include <functional>
#include <span>
#include <vector>

namespace sarvane::study {

struct LiveChartSettings {
    FollowSettings following = {};
    ChartSettings chart = {};
    std::function<std::vector<bool>(const BarHeader&)> ofVolume;  // gives `chart.ofVolume` once the columns are known
    ServerSettings server = {};
    bool staysClosed = false;  // the page is not opened in the user's browser
};

// Follows a file as `RunLive` does and serves a page that draws it. Prints the address of the page. Once the input has
// ended the page stays, until a signal ends the program.
void RunLiveChart(const Library& library, const LiveChartSettings& settings, std::span<const std::string_view> besides);

}  // namespace sarvane::study
