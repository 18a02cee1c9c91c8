#include "chart_server/chart_feed.h"

#include "failure.h"
#include "forming.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <random>

namespace sarvane::study {
namespace {

using nlohmann::json;

constexpr std::size_t BlockSize = 512;
constexpr std::size_t MostRows = 5000;  // in one event; a viewer that lacks more loads the page again
constexpr std::size_t MostAlerts = 100;
constexpr std::array Columns = {"open", "high", "low", "close", "volume"};

bool HasSameBits(double a, double b) { return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b); }

json Number(double value) { return IsUndefined(value) || !std::isfinite(value) ? json() : json(value); }

// What the page takes of a bar: its place, date, prices and volume, results, and labels.
struct Row {
    std::size_t bar;
    std::string date;
    std::vector<double> cells;  // in the file, by column
    std::vector<double> values;

    json Json(const BarHeader& header, const std::vector<Result>& results) const {
        json prices = json::array(), numbers = json::array(), labels = json::array();
        for (const char* const name : Columns) {
            const auto column = header.FindColumn(name);
            prices.push_back(column ? Number(cells[*column]) : json());
        }
        for (const Result& result : results) {
            const double value = values[numbers.size()];
            numbers.push_back(result.isLabel ? json() : Number(value));
            if (!result.isLabel) continue;
            if (const auto label = LabelOf(value))
                labels.push_back(json::array({result.expression, label->text, label->pointsDown}));
        }
        return json::array({bar, date, std::move(prices), std::move(numbers), std::move(labels)});
    }
};

std::vector<double> CopyOf(Series::Row row) { return {row.begin(), row.end()}; }

Row RowOf(const Live& live, std::size_t bar) {
    return {bar, live.Bars().IsoDate(bar), live.Bars().Row(bar).values, CopyOf(live.Values(bar))};
}

std::string Dump(const json& data) { return data.dump(-1, ' ', true, json::error_handler_t::replace); }

std::string EventText(std::string_view kind, const std::string& id, const json& data) {
    return fmt::format("event: {}\nid: {}\ndata: {}\n\n", kind, id, Dump(data));
}

// Until the bars are there. The stream tells the page to load again.
constexpr std::string_view WaitingPage = R"(<!doctype html>
<html lang="en"><meta charset="utf-8"><meta name="viewport" content="width=device-width, initial-scale=1">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; connect-src 'self'; script-src 'unsafe-inline'; style-src 'unsafe-inline'">
<title>Waiting for bars</title>
<style>:root { color-scheme: light dark; } body { font: 16px system-ui, sans-serif; text-align: center; margin-top: 40vh; }</style>
<p id="waiting" role="status">Waiting for the first bars …</p>
<script>
const source = new EventSource('stream?from=none-0');
source.addEventListener('reload', () => location.reload());
source.addEventListener('state', event => {
  if (JSON.parse(event.data).state !== 'live') document.getElementById('waiting').textContent = 'The input has ended without a bar.';
});
</script>
</html>
)";

}  // namespace

ChartFeed::ChartFeed(ChartSettings chart, std::vector<std::string> alertConditions, MakeSeries make)
    : settings(std::move(chart)), conditions(std::move(alertConditions)), makeSeries(std::move(make)) {
    std::random_device random;
    run = fmt::format("{:08x}", random());
    series = "none";
}

std::string ChartFeed::TextOf(const Seen& seen) { return fmt::format("{}-{}", seen.series, seen.change); }

ChartFeed::Seen ChartFeed::SeenIn(std::string_view text) {
    const std::size_t dash = text.rfind('-');
    Seen seen;
    if (dash == std::string_view::npos) return seen;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data() + dash + 1, end, seen.change);
    if (error == std::errc() && stop == end) seen.series = text.substr(0, dash);
    return seen;
}

std::string ChartFeed::Page() const {
    std::unique_lock lock(mutex);
    if (!live || !isReady) return std::string(WaitingPage);
    const BarFile bars = live->Bars();
    std::vector<Result> results = live->Results();
    const std::size_t width = results.size();
    std::vector<double> values, row(width);
    values.reserve(bars.BarCount() * width);
    for (std::size_t bar = 0; bar < bars.BarCount(); ++bar) {
        const Series::Row one = live->Values(bar);
        values.insert(values.end(), one.begin(), one.end());
    }
    json told = json::array();
    for (const TakenAlert& alert : alerts) told.push_back({alert.date, alert.condition});
    ChartSettings chart = settings;
    chart.live = Dump(
        {{"id", TextOf({series, change})}, {"state", state}, {"alerts", std::move(told)}, {"conditions", conditions}});
    lock.unlock();

    for (std::size_t i = 0; i < width; ++i) results[i].value = &row[i];
    std::string html =
        DrawChart(
            bars, results,
            [&](std::size_t bar) {
                std::copy_n(values.begin() + static_cast<std::ptrdiff_t>(bar * width), width, row.begin());
            },
            chart)
            .html;
    // A page by itself may connect to nothing.
    constexpr std::string_view Alone = "default-src 'none';";
    const std::size_t place = html.find(Alone);
    if (place != std::string::npos) html.insert(place + Alone.size(), " connect-src 'self';");
    return html;
}

std::optional<std::string> ChartFeed::Next(Seen& seen) const {
    const std::scoped_lock lock(mutex);
    if (isReleased) {
        const bool isTold = seen.change >= stateChange;
        seen.change = change;
        return isTold ? std::nullopt : std::optional(EventText("state", TextOf(seen), {{"state", state}}));
    }
    const std::string present = live && isReady ? series : "none";
    const auto reload = [&] {
        seen = {present, change};
        return EventText("reload", TextOf(seen), json::object());
    };
    if (seen.series != present || seen.change > change) return reload();
    if (seen.change == change) return std::nullopt;
    const std::uint64_t since = std::exchange(seen.change, change);
    if (present == "none") return EventText("state", TextOf(seen), {{"state", state}});
    const std::vector<std::size_t> bars = ChangedSince(since, MostRows + 1);
    if (bars.size() > MostRows) return reload();
    json rows = json::array(), told = json::array();
    for (const std::size_t bar : bars) rows.push_back(RowOf(*live, bar).Json(live->Bars().Header(), live->Results()));
    for (const TakenAlert& alert : alerts) {
        if (alert.change > since) told.push_back({alert.date, alert.condition});
    }
    json data = {{"bars", live->Bars().BarCount()}, {"rows", std::move(rows)}};
    const std::vector<Result>& results = live->Results();
    for (std::size_t i = 0; i < results.size(); ++i) {
        if (const auto first = FormingFrom(live->Bars(), results[i].frames))
            data["forming"].push_back(json::array({i, *first}));
    }
    if (!told.empty()) data["alerts"] = std::move(told);
    if (stateChange > since) data["state"] = state;
    return EventText("change", TextOf(seen), data);
}

std::string ChartFeed::Then(std::optional<std::uint64_t> update, std::size_t bar) const {
    std::unique_lock lock(mutex);
    const std::size_t count = live && isReady ? live->Bars().BarCount() : 0;
    if (count == 0) Fail("there are no bars");
    const std::shared_ptr<History> past = history;
    const History::Moment moment = update ? past->After(*update, count) : past->AtEndOf(bar, count);
    // Bars that nothing has changed since have the results that they had.
    const bool isCalculated = !past->ChangedSince(moment).empty();
    if (isCalculated) {
        const History::Way way = past->WayTo(moment, live->Bars());
        lock.unlock();
        try {
            past->Calculate(way);
        } catch (...) {
            lock.lock();
            past->LoseWay();
            throw;
        }
        lock.lock();
        if (!live || history != past || moment.update < past->FirstUpdate()) Fail("the bars have become others");
    }

    const BarFile& bars = live->Bars();
    std::vector<Row> differing;
    const std::vector<History::Values> corrected = past->ChangedSince(moment);
    auto next = corrected.begin();
    for (std::size_t i = 0; i < moment.barCount && isCalculated; ++i) {
        const std::vector<double>* const cells = next != corrected.end() && next->bar == i ? (next++)->row : nullptr;
        const bool isSame = (!cells || std::ranges::equal(*cells, bars.Row(i).values, HasSameBits)) &&
                            std::ranges::equal(past->Results(i), live->Values(i), HasSameBits);
        if (!isSame)
            differing.push_back({i, bars.IsoDate(i), cells ? *cells : bars.Row(i).values, CopyOf(past->Results(i))});
    }
    json then = {{"bars", moment.barCount},
                 {"update", moment.update},
                 {"firstUpdate", past->FirstUpdate()},
                 {"lastUpdate", past->LastUpdate()},
                 {"id", TextOf({series, change})}};
    const BarHeader header = bars.Header();
    const std::vector<Result> results = live->Results();
    lock.unlock();
    json rows = json::array();
    for (const Row& row : differing) rows.push_back(row.Json(header, results));
    then["rows"] = std::move(rows);
    return Dump(then);
}

void ChartFeed::SetState(std::string text) {
    {
        const std::scoped_lock lock(mutex);
        state = std::move(text);
        stateChange = ++change;
    }
    Changed();
}

void ChartFeed::BeginSeries() {
    series = fmt::format("{}.{}", run, ++seriesBegun);
    ++change;
}

void ChartFeed::Start(const Live& started) {
    live = &started;
    history = std::make_shared<History>(makeSeries(started.Bars().Header()));
    changeOf.clear();
    changeOfBlock.clear();
    isReady = false;
    barsAtCheck = 0;
    panes.clear();
    firstDate.clear();
    BeginSeries();
}

// Comes ahead of the call that tells why.
void ChartFeed::ShowBar(const Live&, std::size_t bar) { Stamp(bar, change + 1); }

void ChartFeed::TakeRow(std::size_t bar, const std::vector<double>* before) {
    history->Take(bar, before);
    ++change;
    Stamp(bar, change);
    // What a row shows of how dates are written holds for all.
    if (const std::string date = live->Bars().IsoDate(0); date != firstDate) {
        if (!firstDate.empty()) BeginSeries();
        firstDate = date;
    }
    if (isReady) CheckPanes();
    if (isReady) Changed();
}

void ChartFeed::TakeBarsFrom(std::size_t first) {
    const std::size_t count = live->Bars().BarCount();
    history->Forget();
    ++change;
    changeOf.resize(std::min(changeOf.size(), count));
    changeOfBlock.resize((changeOf.size() + BlockSize - 1) / BlockSize);
    for (std::size_t bar = first; bar < count; ++bar) Stamp(bar, change);
    if (isReady) CheckPanes();
    Changed();
}

void ChartFeed::Stamp(std::size_t bar, std::uint64_t number) {
    if (bar >= changeOf.size()) changeOf.resize(bar + 1, number);
    if (bar / BlockSize >= changeOfBlock.size()) changeOfBlock.resize(bar / BlockSize + 1, number);
    changeOf[bar] = changeOfBlock[bar / BlockSize] = number;
}

// The bars with a later change, of which there may be more than `most`.
std::vector<std::size_t> ChartFeed::ChangedSince(std::uint64_t since, std::size_t most) const {
    std::vector<std::size_t> bars;
    for (std::size_t block = 0; block < changeOfBlock.size() && bars.size() < most; ++block) {
        if (changeOfBlock[block] <= since) continue;
        const std::size_t end = std::min(changeOf.size(), (block + 1) * BlockSize);
        for (std::size_t bar = block * BlockSize; bar < end; ++bar) {
            if (changeOf[bar] > since) bars.push_back(bar);
        }
    }
    return bars;
}

// With few bars it can't be told yet which curves lie among the prices, so that this is looked at again once there are
// twice as many. If they move, viewers load the page again.
void ChartFeed::CheckPanes() {
    const std::size_t count = live->Bars().BarCount();
    if (count < 2 * barsAtCheck && barsAtCheck > 0) return;
    barsAtCheck = count;
    std::vector<Result> results = live->Results();
    std::vector<double> row(results.size());
    for (std::size_t i = 0; i < row.size(); ++i) results[i].value = &row[i];
    const std::string present = PanesOf(
        live->Bars(), results, [&](std::size_t bar) { std::ranges::copy(live->Values(bar), row.begin()); }, settings);
    if (present == panes) return;
    if (!panes.empty()) BeginSeries();
    panes = present;
}

void ChartFeed::Alert(std::string_view date, const std::string& condition) {
    {
        const std::scoped_lock lock(mutex);
        alerts.push_back({++change, std::string(date), condition});
        if (alerts.size() > MostAlerts) alerts.pop_front();
    }
    Changed();
}

void ChartFeed::Release() {
    const std::scoped_lock lock(mutex);
    live = nullptr;
    isReleased = true;
}

void ChartFeed::Flush() {
    {
        const std::scoped_lock lock(mutex);
        if (isReady || !live) return;
        isReady = true;
        ++change;
        CheckPanes();
    }
    Changed();
}

}  // namespace sarvane::study
