#include "chart_server/live_chart.h"

#include "chart_server/chart_feed.h"
#include "console.h"
#include "failure.h"
#include "interrupt.h"
#include "platform/system.h"

#include <chrono>
#include <fmt/format.h>
#include <thread>

namespace sarvane::study {
namespace {

class ServedChart : public ChartFeed {
public:
    ServedChart(const LiveChartSettings& how, MakeSeries make)
        : ChartFeed(how.chart, how.following.alerts.conditions, std::move(make)), ofVolume(how.ofVolume), server(*this, how.server) {
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
    const auto makeSeries = [&](const BarHeader& header) {
        constexpr std::size_t Distance = 100, MostSnapshots = 200;
        const FollowSettings& following = settings.following;
        Compiler compiler(library.Studies(), header.titles);
        for (const std::string& expression : following.expressions) {
            if (const auto problem = compiler.Add(expression, {following.run.operators, following.allOutputs}))
                FailWith(*problem, expression);
        }
        return std::make_unique<Series>(
            compiler.Finish(), SeriesSettings{Distance, MostSnapshots, following.run.hold, following.run.priceStep});
    };
    ServedChart chart(settings, makeSeries);
    Print(chart.Address() + "\n");
    FlushOutput();
    if (!settings.staysClosed) OpenInBrowser(chart.Address());
    RunLive(library, settings.following, chart, besides);
}

}  // namespace sarvane::study
