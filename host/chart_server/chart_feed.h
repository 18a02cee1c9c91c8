#pragma once

#include "chart.h"
#include "chart_server/history.h"
#include "follow.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace sarvane::study {

// What a chart of a followed file shows at present, for any number of viewers in other threads. Each change has a number,
// and each bar the number of its last change: what a viewer has missed follows from the last number that it has seen,
// however long ago, so that nothing is kept for viewers and none can hold the file back.
class ChartFeed : public FollowOutput {
public:
    // `makeSeries` gives a series of the expressions over columns that has no bars yet.
    using MakeSeries = std::function<std::unique_ptr<Series>(const BarHeader&)>;
    ChartFeed(ChartSettings chart, std::vector<std::string> conditions, MakeSeries makeSeries);

    // Where a viewer stands: the series that it shows, and the number of the last change that it has got.
    struct Seen {
        std::string series;
        std::uint64_t change = 0;
    };
    // As a text that the page hands back, and from it. A text that is none gives what no series has.
    static std::string TextOf(const Seen& seen);
    static Seen SeenIn(std::string_view text);

    // The page as of now.
    std::string Page() const;
    // The next event for a viewer, in the form of Server-Sent Events, and moves `seen` on. Nothing if it has got all. A
    // viewer that shows other columns, or lacks very many bars, is told to load the page again.
    std::optional<std::string> Next(Seen& seen) const;

    // What was known at an earlier moment, as JSON: after an update, or when a bar had just ended. Of its bars only those
    // are told that differ from the present ones. For one thread at a time. Fails if there are no bars.
    std::string Then(std::optional<std::uint64_t> update, std::size_t bar) const;

    // Called for each change, in the thread that made it; may be called more often than needed.
    void WhenChanged(std::function<void()> call) { changed = std::move(call); }
    // What the input does: "live", "ended" or "stopped".
    void SetState(std::string text);

    std::unique_lock<std::mutex> Lock() override { return std::unique_lock(mutex); }
    void Start(const Live& live) override;
    void ShowBar(const Live& live, std::size_t bar) override;
    void TakeRow(std::size_t bar, const std::vector<double>* before) override;
    void TakeBarsFrom(std::size_t bar) override;
    void Alert(std::string_view date, const std::string& condition) override;
    void Flush() override;
    void Release() override;

protected:
    // Ahead of a start.
    void SetOfVolume(std::vector<bool> ofVolume) { settings.ofVolume = std::move(ofVolume); }

private:
    struct TakenAlert {
        std::uint64_t change;
        std::string date, condition;
    };

    void Stamp(std::size_t bar, std::uint64_t number);
    void CheckPanes();
    void BeginSeries();
    std::vector<std::size_t> ChangedSince(std::uint64_t change, std::size_t most) const;
    void Changed() const {
        if (changed) changed();
    }

    ChartSettings settings;
    std::vector<std::string> conditions;
    MakeSeries makeSeries;
    std::function<void()> changed;

    mutable std::mutex mutex;  // for all that follows, and the bars of `live`
    const Live* live = nullptr;
    std::shared_ptr<History> history;  // of its bars
    bool isReleased = false;      // there are no bars any more, and only the state is told
    bool isReady = false;         // the bars that the input held at first are there
    std::string run;              // tells this run of the program from others
    std::uint64_t seriesBegun = 0;
    std::string series;
    std::uint64_t change = 0;
    std::vector<std::uint64_t> changeOf;       // by bar
    std::vector<std::uint64_t> changeOfBlock;  // the newest of BlockSize bars
    std::size_t barsAtCheck = 0;               // of the panes
    std::string panes;
    std::string firstDate;
    std::deque<TakenAlert> alerts;
    std::string state = "live";
    std::uint64_t stateChange = 0;
};

}  // namespace sarvane::study
