#pragma once

#include "study.h"

#include <filesystem>
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

void WritePage(const std::filesystem::path& file, const ChartPage& page);

// Has a browser of this machine paint a page, `width` pixels wide, into a PNG file. Fails where there is none.
void PaintPicture(const std::filesystem::path& file, const ChartPage& page, int width);

}  // namespace sarvane::study
