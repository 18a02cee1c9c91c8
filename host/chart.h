#pragma once

#include "study.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sarvane::study {

struct ChartSettings {
    std::string theme = "auto";            // "light" or "dark", or what the reader's system prefers
    std::optional<std::size_t> last = {};  // how many bars are in view at first
    // How curves are drawn that should not be drawn as their description says: names and "line", "step", "band",
    // "histogram" or "marker".
    std::vector<std::pair<std::string, std::string>> drawings = {};
    std::vector<bool> ofVolume = {};        // of each expression, whether it reads nothing but the volume
    std::vector<StartNotice> notices = {};  // shown while their bars are in view
    // How the values of the last bars come about, a text for each bar; a click on a bar shows its text.
    std::vector<std::string> explanations = {};
};

struct PictureSize {
    int width = 1280;
    std::optional<int> height = {};  // as high as the page needs to be
    double scale = 1;                // pixels of the picture to a pixel of the page
};

struct ChartPage {
    std::string html;
    int height;  // in pixels, of a picture that shows all panes
};

// Runs a study and draws it as one page that needs nothing else: prices on top, results that are measured as prices
// over them, all others in panes below. Fails if this program was built without what draws charts.
ChartPage DrawChart(const BarFile& bars, Study& study, const ChartSettings& settings);

// Has a browser of this machine paint a page, and gives the bytes of the PNG file `name`. Fails where there is none.
std::string PaintPicture(const std::string& name, const ChartPage& page, const PictureSize& size);

}  // namespace sarvane::study
