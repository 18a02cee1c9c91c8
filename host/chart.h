#pragma once

#include "study.h"

#include <optional>
#include <string>

namespace sarvane::study {

struct ChartSettings {
    std::string theme = "auto";            // "light" or "dark", or what the reader's system prefers
    std::optional<std::size_t> last = {};  // how many bars are in view at first
};

struct ChartPage {
    std::string html;
    int height;  // in pixels, of a picture that shows all panes
};

// Runs a study and draws it as one page that needs nothing else: prices on top, results that are measured as prices
// over them, all others in panes below. Fails if this program was built without what draws charts.
ChartPage DrawChart(const BarFile& bars, Study& study, const ChartSettings& settings);

// Has a browser of this machine paint a page, `width` pixels wide, and gives the bytes of the PNG file `name`. Fails where
// there is none.
std::string PaintPicture(const std::string& name, const ChartPage& page, int width);

}  // namespace sarvane::study
