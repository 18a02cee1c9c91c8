#pragma once

#include "study.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
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
    std::string live = {};  // JSON of what the page of a live chart goes on from; empty for a page by itself
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

// The page ahead of what it shows, and behind that. Fails as above.
std::pair<std::string_view, std::string_view> TemplateParts();

// As above, of results that are there already: `step` gives them the values of a bar.
using StepTo = std::function<void(std::size_t bar)>;
ChartPage DrawChart(const BarFile& bars, const std::vector<Result>& results, const StepTo& step,
                    const ChartSettings& settings);

// Which panes the curves of such a chart are drawn in, as a text: other values can have other panes.
std::string PanesOf(const BarFile& bars, const std::vector<Result>& results, const StepTo& step,
                    const ChartSettings& settings);

// What a chart writes at a bar. Nothing for a value that is no label.
struct DrawnLabel {
    std::string text;
    bool pointsDown;
};
std::optional<DrawnLabel> LabelOf(double value);

// Has a browser of this machine paint a page, and gives the bytes of the PNG file `name`. Fails where there is none.
std::string PaintPicture(const std::string& name, const ChartPage& page, const PictureSize& size);

}  // namespace sarvane::study
