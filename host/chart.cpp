#include "chart.h"

#include "chart/page_data.h"
#include "chart_template.h"
#include "description.h"
#include "failure.h"
#include "forming.h"
#include "output_file.h"
#include "path.h"
#include "platform/system.h"
#include "progress.h"
#include "sarvane/chart_label.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

namespace sarvane::study {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

struct Curve {
    const Result* result;
    std::string name;  // tells it from others of its expression
    std::string_view drawing;
    std::vector<const Result*> beside = {};  // of a bar: its open, high and low
    std::vector<double> values = {};
    std::vector<std::vector<double>> besideValues = {};
    std::size_t pane = 0;  // counted from the top
};

struct Label {
    std::size_t bar;
    std::size_t expression;
    std::string text;
    bool pointsDown;
};

const Result* Find(const std::vector<const Result*>& results, std::string_view output) {
    const auto found = std::ranges::find(results, output, &Result::output);
    return found == results.end() ? nullptr : *found;
}

// What is drawn of one expression as curves. High and low beside labels are the places for the labels; open, high and
// low of a bar are drawn with its close, as candles.
std::vector<Curve> CurvesOf(const std::vector<const Result*>& results) {
    const bool hasLabels = std::ranges::any_of(results, &Result::isLabel);
    const std::vector<const Result*> besideClose = {Find(results, "open"), Find(results, "high"), Find(results, "low")};
    const bool isBar = Find(results, "close") && std::ranges::none_of(besideClose, [](auto* price) { return !price; });
    std::vector<Curve> curves;
    for (const Result* const result : results) {
        const bool isPlace = hasLabels && (result->output == "high" || result->output == "low");
        const bool isBesideClose = isBar && std::ranges::find(besideClose, result) != besideClose.end();
        if (result->isLabel || isPlace || isBesideClose) continue;
        curves.push_back({result, result->output, DrawingName(result->drawing)});
        if (isBar && result->output == "close") {
            curves.back().beside = besideClose;
            curves.back().besideValues.resize(besideClose.size());
            curves.back().drawing = "candles";
        }
    }
    if (curves.size() == 1) curves.front().name.clear();
    return curves;
}

// Labels are 8-bit characters.
std::string Utf8(std::string_view label) {
    std::string text;
    for (const char c : label) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            text += c;
        } else {
            text += static_cast<char>(0xC0 | byte >> 6);
            text += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return text;
}

// The second of an operator's kinds of labels.
bool PointsDown(double packed) { return (std::bit_cast<std::uint64_t>(packed) & 0x07) == 2; }

std::vector<double> ValuesOf(const BarFile& bars, std::size_t column) {
    std::vector<double> values(bars.BarCount());
    for (std::size_t bar = 0; bar < values.size(); ++bar) values[bar] = bars.Value(column, bar);
    return values;
}

class Drawing {
public:
    // Fails if no curve has a name of `settings.drawings`.
    Drawing(const BarFile& file, const std::vector<Result>& results, const ChartSettings& settings)
        : bars(file), firstResult(results.data()) {
        std::vector<const Result*> expression;
        for (std::size_t i = 0; i < results.size(); ++i) {
            expression.push_back(&results[i]);
            if (results[i].isLabel) labelled.push_back(&results[i]);
            if (i + 1 < results.size() && results[i + 1].expression == results[i].expression) continue;
            std::ranges::move(CurvesOf(expression), std::back_inserter(curves));
            expression.clear();
        }
        for (const auto& [name, drawing] : settings.drawings) DrawOtherwise(name, drawing);
        for (Curve& curve : curves) curve.values.reserve(bars.BarCount());
        for (const std::string_view price : {"close", "open", "high", "low"}) {
            if (!priceColumn) priceColumn = bars.FindColumn(price);
        }
        volumeColumn = bars.FindColumn("volume");
        ofVolume = settings.ofVolume;
    }

    void TakeBar(std::size_t bar) {
        for (Curve& curve : curves) {
            curve.values.push_back(*curve.result->value);
            for (std::size_t n = 0; n < curve.beside.size(); ++n)
                curve.besideValues[n].push_back(*curve.beside[n]->value);
        }
        for (const Result* const result : labelled) {
            if (auto label = LabelOf(*result->value))
                labels.push_back({bar, result->expression, std::move(label->text), label->pointsDown});
        }
    }

    // What is not drawn over the prices shares a pane with the rest of its expression. Bands have no scale, and so a pane
    // of their own. Averages of the volume and the like share a pane with the volume; without them it lies under the
    // prices.
    void AssignPanes() {
        paneCount = priceColumn ? 1 : 0;
        if (std::ranges::any_of(curves, [this](const Curve& curve) { return LiesAmongVolumes(curve); }))
            volumePane = paneCount++;
        const Curve* lastBelow = nullptr;
        for (Curve& curve : curves) {
            const bool isBand = curve.drawing == "band";
            if (!isBand && priceColumn && curve.result->inPriceUnits && LiesAmongPrices(curve)) continue;
            if (LiesAmongVolumes(curve)) {
                curve.pane = *volumePane;
                continue;
            }
            if (!lastBelow || lastBelow->result->expression != curve.result->expression ||
                (lastBelow->drawing == "band") != isBand)
                ++paneCount;
            lastBelow = &curve;
            curve.pane = paneCount - 1;
        }
        paneCount = std::max<std::size_t>(paneCount, 1);
    }

    int Height() const {
        constexpr int Frame = 90, TopPane = 400, Pane = 150, Band = 26;
        std::vector<int> bands(paneCount);
        for (const Curve& curve : curves) bands[curve.pane] += curve.drawing == "band";
        int height = Frame + TopPane;
        for (std::size_t pane = 1; pane < paneCount; ++pane) height += std::max(Pane, Band * (bands[pane] + 1));
        return height;
    }

    std::string Panes() const {
        std::string text = bars.BarCount() == 0 ? "none" : "";
        for (const Curve& curve : curves) {
            const bool isEmpty = std::ranges::all_of(curve.values, IsUndefined);
            text += fmt::format("{}{} ", curve.pane, isEmpty ? "-" : "");
        }
        return text;
    }

    // The text that the page holds.
    std::string Data(const ChartSettings& settings) const {
        PageData data;
        std::vector<std::string> dates;
        json prices = json::object(), studies = json::array(), marks = json::array();
        json sources = json::array(), notices = json::array();
        for (const StartNotice& notice : settings.notices)
            notices.push_back({{"text", notice.text}, {"bars", notice.bars}});
        for (std::size_t bar = 0; bar < bars.BarCount(); ++bar) dates.push_back(bars.IsoDate(bar));
        for (const char* price : {"open", "high", "low", "close"}) {
            if (const auto column = bars.FindColumn(price)) prices[price] = data.Column(ValuesOf(bars, *column));
        }
        for (const Curve& curve : curves) {
            studies.push_back({{"expression", curve.result->expression},
                               {"typed", TypedText(*curve.result)},
                               {"formula", curve.result->formula},
                               {"name", curve.name},
                               {"meaning", curve.result->meaning},
                               {"drawing", curve.drawing},
                               {"pane", curve.pane},
                               {"column", ColumnOf(curve.result)},
                               {"values", data.Column(curve.values)}});
            if (const auto first = FormingFrom(bars, curve.result->frames)) studies.back()["forming"] = *first;
            if (curve.beside.empty()) continue;
            for (const Result* const price : curve.beside)
                studies.back()["barColumns"][price->output] = ColumnOf(price);
            json& bar = studies.back()["bar"];
            for (std::size_t n = 0; n < curve.beside.size(); ++n)
                bar[curve.beside[n]->output] = data.Column(curve.besideValues[n]);
        }
        for (const Result* const result : labelled) {
            if (!sources.empty() && sources.back()["expression"] == result->expression) continue;
            sources.push_back(
                {{"expression", result->expression}, {"typed", TypedText(*result)}, {"formula", result->formula}});
        }
        for (const auto& [bar, expression, text, pointsDown] : labels)
            marks.push_back(json::array({bar, expression, text, pointsDown}));
        return data.Text({{"title", TextOf(PathOf(bars.Name()).filename())},
                          {"bars", bars.BarCount()},
                          {"dates", data.Dates(dates)},
                          {"prices", std::move(prices)},
                          {"volume", volumeColumn ? data.Column(ValuesOf(bars, *volumeColumn)) : json()},
                          {"volumePane", volumePane ? json(*volumePane) : json()},
                          {"studies", std::move(studies)},
                          {"labelled", std::move(sources)},
                          {"labels", std::move(marks)},
                          {"panes", paneCount},
                          {"height", Height()},
                          {"theme", settings.theme},
                          {"notices", std::move(notices)},
                          {"explanations", ExplanationsJson(settings)},
                          {"live", settings.live.empty() ? json() : json::parse(settings.live)},
                          {"last", settings.last ? json(*settings.last) : json()}});
    }

private:
    std::size_t ColumnOf(const Result* result) const { return static_cast<std::size_t>(result - firstResult); }

    json ExplanationsJson(const ChartSettings& settings) const {
        if (settings.explanations.empty()) return {};
        return {{"first", bars.BarCount() - settings.explanations.size()}, {"texts", settings.explanations}};
    }

    // `name` is an expression as it was typed, an output, or both with a point between them.
    void DrawOtherwise(const std::string& name, const std::string& drawing) {
        bool isFound = false;
        for (Curve& curve : curves) {
            const Result& result = *curve.result;
            if (name != result.title && name != TypedText(result) && name != result.output) continue;
            isFound = true;
            curve.drawing = drawing;
            curve.beside.clear();
        }
        if (!isFound) Fail("--draw: no curve is named \"{}\"", name);
    }

    // Whether most values of a curve are near those of a column on their bars.
    template <class IsNear>
    bool LiesAmong(std::size_t column, const Curve& curve, IsNear isNear) const {
        std::size_t known = 0, near = 0;
        for (std::size_t bar = 0; bar < curve.values.size(); ++bar) {
            const double value = curve.values[bar], other = bars.Value(column, bar);
            if (IsUndefined(value) || IsUndefined(other)) continue;
            ++known;
            if (isNear(value, other)) ++near;
        }
        return 2 * near >= known;
    }

    // A deviation or an oscillator may be measured as prices are, and still press the prices flat if it shared their
    // scale.
    bool LiesAmongPrices(const Curve& curve) const {
        constexpr double Near = 0.25;  // of the price
        return LiesAmong(*priceColumn, curve,
                         [](double value, double price) { return std::abs(value - price) <= Near * std::abs(price); });
    }

    bool LiesAmongVolumes(const Curve& curve) const {
        constexpr double Near = 10;  // times as much, or as little
        const std::size_t expression = curve.result->expression;
        return volumeColumn && curve.drawing != "band" && expression < ofVolume.size() && ofVolume[expression] &&
               LiesAmong(*volumeColumn, curve,
                         [](double value, double volume) { return value * Near >= volume && value <= volume * Near; });
    }

    const BarFile& bars;
    const Result* firstResult;
    std::optional<std::size_t> priceColumn, volumeColumn;
    std::vector<bool> ofVolume;  // by expression
    std::optional<std::size_t> volumePane;
    std::vector<Curve> curves;
    std::vector<const Result*> labelled;
    std::vector<Label> labels;
    std::size_t paneCount = 1;
};

class TemporaryFolder {
public:
    TemporaryFolder() : path(MakeTemporaryFolder()) {}
    ~TemporaryFolder() {
        std::error_code leftBehind;
        fs::remove_all(path, leftBehind);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const fs::path& Path() const { return path; }

private:
    fs::path path;
};

std::string FileUrl(const fs::path& file) {
    const std::string path = TextOf(fs::absolute(file).generic_u8string());
    std::string url = path.starts_with('/') ? "file://" : "file:///";
    for (const char c : path) {
        if (std::isalnum(static_cast<unsigned char>(c)) || std::strchr("/-_.:", c))
            url += c;
        else
            url += fmt::format("%{:02X}", static_cast<unsigned char>(c));
    }
    return url;
}

}  // namespace

std::pair<std::string_view, std::string_view> TemplateParts() {
    constexpr std::string_view Placeholder = "@data@";
    const std::string_view page = ChartTemplate();
    const std::size_t place = page.find(Placeholder);
    if (place == std::string_view::npos)
        Fail("charts are not part of this program: it was built without lightweight-charts, which npm brings. "
             "Install npm and build again");
    return {page.substr(0, place), page.substr(place + Placeholder.size())};
}

std::optional<DrawnLabel> LabelOf(double value) {
    const auto text = LabelText(value);
    return text ? std::optional(DrawnLabel{Utf8(*text), PointsDown(value)}) : std::nullopt;
}

ChartPage DrawChart(const BarFile& bars, Study& study, const ChartSettings& settings) {
    Progress progress("calculating", static_cast<double>(bars.BarCount()));
    study.Reset();
    return DrawChart(
        bars, study.Results(),
        [&](std::size_t bar) {
            study.Step(bar);
            progress.Update(static_cast<double>(bar));
        },
        settings);
}

std::string PanesOf(const BarFile& bars, const std::vector<Result>& results, const StepTo& step,
                    const ChartSettings& settings) {
    Drawing drawing(bars, results, settings);
    for (std::size_t bar = 0; bar < bars.BarCount(); ++bar) {
        step(bar);
        drawing.TakeBar(bar);
    }
    drawing.AssignPanes();
    return drawing.Panes();
}

ChartPage DrawChart(const BarFile& bars, const std::vector<Result>& results, const StepTo& step,
                    const ChartSettings& settings) {
    const auto [head, tail] = TemplateParts();
    Drawing drawing(bars, results, settings);
    for (std::size_t bar = 0; bar < bars.BarCount(); ++bar) {
        step(bar);
        drawing.TakeBar(bar);
    }
    drawing.AssignPanes();
    std::string html(head);
    html += drawing.Data(settings);
    html += tail;
    return {std::move(html), drawing.Height()};
}

std::string PaintPicture(const std::string& name, const ChartPage& page, const PictureSize& size) {
    std::vector<std::string> words = BrowserCommand();
    if (words.empty()) Fail("{}: no picture, for that takes Chromium, and none is installed", name);
    const TemporaryFolder folder;
    const fs::path html = folder.Path() / "chart.html", picture = folder.Path() / "chart.png";
    OutputFile file(html, {});
    file.Write(page.html);
    file.Close();
    const std::string browser = words.front();
    std::ranges::copy(
        std::initializer_list<std::string>{
            "--headless", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking",
            "--disable-component-update", "--disable-sync", "--hide-scrollbars",
            fmt::format("--force-device-scale-factor={}", size.scale), "--virtual-time-budget=3000",
            fmt::format("--user-data-dir={}", TextOf(folder.Path() / "profile")),
            fmt::format("--window-size={},{}", size.width, size.height.value_or(page.height)),
            fmt::format("--screenshot={}", TextOf(picture)), FileUrl(html) + "#picture"},
        std::back_inserter(words));
    if (!RunSilently(words) || !fs::exists(picture)) Fail("{}: {} painted no picture", name, browser);
    std::ostringstream bytes;
    bytes << std::ifstream(picture, std::ios::binary).rdbuf();
    if (bytes.str().empty()) Fail("{}: {} painted an empty picture", name, browser);
    return bytes.str();
}

}  // namespace sarvane::study
