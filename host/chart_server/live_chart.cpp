#include "chart_server/live_chart.h"

#include "chart_server/chart_feed.h"
#include "console.h"
#include "interrupt.h"
#include "platform/system.h"

#include <chrono>
#include <fmt/format.h>
#include <thread>

namespace sarvane::study {
namespace {

class ServedChart : public ChartFeed {
public:
    explicit ServedChart(const LiveChartSettings& how)
        : ChartFeed(how.chart, how.following.alerts.conditions), ofVolume(how.ofVolume), server(*this, how.server) {
        WhenChanged([this] { server.Wake(); });
    }
    ~ServedChart() override { SetState("stopped"); }
    ServedChart(const ServedChart&) = delete;
    ServedChart& operator=(const ServedChart&) = delete;

    void Start(const Live& started) override {
        SetOfVolume(ofVolume(started.Bars().Header()));
        ChartFeed::Start(started);
    }

    std::string Address() const { return server.Address(); }

    void Finish() override {
        Flush();
        if (!Interrupted()) {
            SetState("ended");
            Tell("the input has ended; the page stays until Ctrl-C");
        }
        while (!Interrupted()) std::this_thread::sleep_for(std::chrono::milliseconds(20));
        SetState("stopped");
    }

private:
    std::function<std::vector<bool>(const BarHeader&)> ofVolume;
    ChartServer server;
};

}  // namespace

void RunLiveChart(const Library& library, const LiveChartSettings& settings,
                  std::span<const std::string_view> besides) {
    TemplateParts();  // fails if there is no page
    ServedChart chart(settings);
    Print(chart.Address() + "\n");
    FlushOutput();
    if (!settings.staysClosed) OpenInBrowser(chart.Address());
    RunLive(library, settings.following, chart, besides);
}

}  // namespace sarvane::study
