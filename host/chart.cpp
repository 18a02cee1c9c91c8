#include "chart.h"

#include "chart_template.h"
#include "failure.h"
#include "progress.h"
#include "sarvane/chart_label.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <nlohmann/json.hpp>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace sarvane::study {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

struct Curve {
    const Result* result;
    std::string name;  // tells it from others of its expression
    std::vector<double> values = {};
    std::size_t pane = 0;  // counted from the top
};

struct Label {
    std::size_t bar;
    std::size_t expression;
    std::string text;
    bool pointsDown;
};

bool Names(const std::vector<const Result*>& results, std::string_view output) {
    return std::ranges::any_of(results, [&](const Result* result) { return result->output == output; });
}

// What is drawn of one expression as curves. High and low beside labels are the places for the labels; a bar among
// bars is drawn as its close.
std::vector<Curve> CurvesOf(const std::vector<const Result*>& results) {
    const bool hasLabels = std::ranges::any_of(results, &Result::isLabel);
    const bool isBar = Names(results, "open") && Names(results, "high") && Names(results, "low");
    std::vector<Curve> curves;
    for (const Result* const result : results) {
        const bool isPlace = hasLabels && (result->output == "high" || result->output == "low");
        const bool isBesideClose = isBar && result->output != "close";
        if (!result->isLabel && !isPlace && !isBesideClose) curves.push_back({result, result->output});
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

json Number(double value) { return IsUndefined(value) || !std::isfinite(value) ? json() : json(value); }

json ColumnJson(const BarFile& bars, std::size_t column) {
    json values = json::array();
    for (std::size_t bar = 0; bar < bars.BarCount(); ++bar) values.push_back(Number(bars.Value(column, bar)));
    return values;
}

class Drawing {
public:
    Drawing(const BarFile& file, const Study& study) : bars(file) {
        std::vector<const Result*> expression;
        const std::vector<Result>& results = study.Results();
        for (std::size_t i = 0; i < results.size(); ++i) {
            expression.push_back(&results[i]);
            if (results[i].isLabel) labelled.push_back(&results[i]);
            if (i + 1 < results.size() && results[i + 1].expression == results[i].expression) continue;
            std::ranges::move(CurvesOf(expression), std::back_inserter(curves));
            expression.clear();
        }
        for (Curve& curve : curves) curve.values.reserve(bars.BarCount());
        for (const std::string_view price : {"close", "open", "high", "low"}) {
            if (!priceColumn) priceColumn = bars.FindColumn(price);
        }
    }

    void TakeBar(std::size_t bar) {
        for (Curve& curve : curves) curve.values.push_back(*curve.result->value);
        for (const Result* const result : labelled) {
            const auto text = LabelText(*result->value);
            if (text) labels.push_back({bar, result->expression, Utf8(*text), PointsDown(*result->value)});
        }
    }

    // What is not drawn over the prices shares a pane with the rest of its expression.
    void AssignPanes() {
        paneCount = priceColumn ? 1 : 0;
        const Result* lastBelow = nullptr;
        for (Curve& curve : curves) {
            if (curve.result->inPriceUnits && LiesAmongPrices(curve)) continue;
            if (!lastBelow || lastBelow->expression != curve.result->expression) ++paneCount;
            lastBelow = curve.result;
            curve.pane = paneCount - 1;
        }
        paneCount = std::max<std::size_t>(paneCount, 1);
    }

    int Height() const {
        constexpr int Frame = 90, TopPane = 400, Pane = 150;
        return Frame + TopPane + Pane * static_cast<int>(paneCount - 1);
    }

    json Json(const ChartSettings& settings) const {
        json dates = json::array(), prices = json::object(), studies = json::array(), marks = json::array();
        json sources = json::array();
        for (std::size_t bar = 0; bar < bars.BarCount(); ++bar) dates.push_back(bars.Date(bar));
        for (const char* price : {"open", "high", "low", "close"}) {
            if (const auto column = bars.FindColumn(price)) prices[price] = ColumnJson(bars, *column);
        }
        for (const Curve& curve : curves) {
            json values = json::array();
            for (const double value : curve.values) values.push_back(Number(value));
            studies.push_back({{"expression", curve.result->expression},
                               {"formula", curve.result->formula},
                               {"name", curve.name},
                               {"pane", curve.pane},
                               {"values", std::move(values)}});
        }
        for (const Result* const result : labelled) {
            if (!sources.empty() && sources.back()["expression"] == result->expression) continue;
            sources.push_back({{"expression", result->expression}, {"formula", result->formula}});
        }
        for (const auto& [bar, expression, text, pointsDown] : labels)
            marks.push_back({{"bar", bar}, {"expression", expression}, {"text", text}, {"down", pointsDown}});
        return {{"title", fs::path(bars.Name()).filename().string()},
                {"dates", std::move(dates)},
                {"prices", std::move(prices)},
                {"studies", std::move(studies)},
                {"labelled", std::move(sources)},
                {"labels", std::move(marks)},
                {"panes", paneCount},
                {"height", Height()},
                {"theme", settings.theme},
                {"last", settings.last ? json(*settings.last) : json()}};
    }

private:
    // A deviation or an oscillator may be measured as prices are, and still press the prices flat if it shared their
    // scale.
    bool LiesAmongPrices(const Curve& curve) const {
        constexpr double Near = 0.25;  // of the price
        std::size_t known = 0, near = 0;
        for (std::size_t bar = 0; bar < curve.values.size(); ++bar) {
            const double value = curve.values[bar], price = bars.Value(*priceColumn, bar);
            if (IsUndefined(value) || IsUndefined(price)) continue;
            ++known;
            if (std::abs(value - price) <= Near * std::abs(price)) ++near;
        }
        return 2 * near >= known;
    }

    const BarFile& bars;
    std::optional<std::size_t> priceColumn;
    std::vector<Curve> curves;
    std::vector<const Result*> labelled;
    std::vector<Label> labels;
    std::size_t paneCount = 1;
};

// Inside a page's script element. No text of the user's can end it: "<" is written in digits.
std::string ScriptJson(const json& data) {
    constexpr int Compact = -1;
    const std::string text = data.dump(Compact, ' ', true, json::error_handler_t::replace);
    std::string safe;
    safe.reserve(text.size());
    for (const char c : text) c == '<' ? safe += "\\u003c" : safe += c;
    return safe;
}

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (fs::temp_directory_path() / "study-XXXXXX").string();
        if (!mkdtemp(name.data())) Fail("{}: {}", name, std::strerror(errno));
        path = name;
    }
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

constexpr std::string_view Browsers[] = {"chromium", "chromium-browser", "google-chrome", "google-chrome-stable"};

std::optional<std::string> FindBrowser() {
    const char* const known = std::getenv("PATH");
    const std::string_view folders = known ? known : "";
    for (const std::string_view browser : Browsers) {
        for (std::size_t begin = 0; begin < folders.size();) {
            const std::size_t end = std::min(folders.find(':', begin), folders.size());
            const fs::path file = fs::path(folders.substr(begin, end - begin)) / browser;
            if (access(file.c_str(), X_OK) == 0) return file.string();
            begin = end + 1;
        }
    }
    return std::nullopt;
}

std::string FileUrl(const fs::path& file) {
    std::string url = "file://";
    for (const char c : fs::absolute(file).string()) {
        if (std::isalnum(static_cast<unsigned char>(c)) || std::strchr("/-_.", c))
            url += c;
        else
            url += fmt::format("%{:02X}", static_cast<unsigned char>(c));
    }
    return url;
}

// Runs a program without its output. False if it fails or takes longer than a minute.
bool RunSilently(std::vector<std::string> words) {
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int error = posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) return false;

    using Clock = std::chrono::steady_clock;
    int status = 0;
    for (const auto end = Clock::now() + std::chrono::minutes(1); Clock::now() < end;) {
        if (waitpid(child, &status, WNOHANG) != 0) return WIFEXITED(status) && WEXITSTATUS(status) == 0;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    return false;
}

}  // namespace

ChartPage DrawChart(const BarFile& bars, Study& study, const ChartSettings& settings) {
    constexpr std::string_view Place = "@data@";
    const std::string_view page = ChartTemplate();
    const std::size_t place = page.find(Place);
    if (place == std::string_view::npos)
        Fail("charts are not part of this program: it was built without lightweight-charts, which npm brings. "
             "Install npm and build again");
    Drawing drawing(bars, study);
    Progress progress("calculating", static_cast<double>(bars.BarCount()));
    study.Reset();
    for (std::size_t bar = 0; bar < bars.BarCount(); ++bar) {
        study.Step(bar);
        drawing.TakeBar(bar);
        progress.Update(static_cast<double>(bar));
    }
    drawing.AssignPanes();
    std::string html(page.substr(0, place));
    html += ScriptJson(drawing.Json(settings));
    html += page.substr(place + Place.size());
    return {std::move(html), drawing.Height()};
}

void WritePage(const fs::path& file, const ChartPage& page) {
    std::ofstream stream(file, std::ios::binary);
    if (!stream) Fail("{}: {}", file.string(), std::strerror(errno));
    stream << page.html;
    stream.close();
    if (!stream) Fail("{}: not all could be written", file.string());
}

void PaintPicture(const fs::path& file, const ChartPage& page, int width) {
    const auto browser = FindBrowser();
    if (!browser) Fail("{}: no picture, for that takes Chromium, and none is installed", file.string());
    const TemporaryFolder folder;
    const fs::path html = folder.Path() / "chart.html", picture = folder.Path() / "chart.png";
    WritePage(html, page);
    std::vector<std::string> words = {*browser,
                                      "--headless",
                                      "--disable-gpu",
                                      "--disable-quic",
                                      "--no-first-run",
                                      "--disable-background-networking",
                                      "--disable-component-update",
                                      "--disable-sync",
                                      "--hide-scrollbars",
                                      "--force-device-scale-factor=1",
                                      "--virtual-time-budget=3000",
                                      fmt::format("--user-data-dir={}", (folder.Path() / "profile").string()),
                                      fmt::format("--window-size={},{}", width, page.height),
                                      fmt::format("--screenshot={}", picture.string())};
    if (geteuid() == 0) words.push_back("--no-sandbox");  // which root can't have
    words.push_back(FileUrl(html) + "#picture");
    if (!RunSilently(words) || !fs::exists(picture)) Fail("{}: {} painted no picture", file.string(), *browser);
    std::error_code error;
    fs::copy_file(picture, file, fs::copy_options::overwrite_existing, error);
    if (error) Fail("{}: {}", file.string(), error.message());
}

}  // namespace sarvane::study
