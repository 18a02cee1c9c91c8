#include "series.h"

#include "platform/guarded_call.h"

#include <algorithm>
#include <bit>

namespace sarvane::study {
namespace {

// A failure, where a status is neither that nor success: a slot that is missing where it was saved.
HRESULT Expected(HRESULT status) { return status == S_OK || FAILED(status) ? status : E_UNEXPECTED; }

}  // namespace

Series::Series(std::unique_ptr<Compilation> compiled, const SeriesSettings& how)
    : compilation(std::move(compiled)), settings(how), used(compilation->UsedColumns()),
      width(compilation->results.size()), row(compilation->columns.size(), UndefinedValue) {
    settings.mostSnapshots = std::clamp<std::size_t>(how.mostSnapshots, 2, SeriesSettings().mostSnapshots);
    // One slot is the top one.
    const auto slots = static_cast<std::size_t>(compilation->graph.MostSlot()) - 1;
    settings.mostSnapshots = std::min(settings.mostSnapshots, slots);
    if (!compilation->graph.WithoutSnapshots().empty()) settings.snapshotDistance = 0;
}

std::size_t Series::Find(std::int64_t time) const {
    const auto found = std::ranges::lower_bound(times, time);
    return found != times.end() && *found == time ? static_cast<std::size_t>(found - times.begin()) : BarCount();
}

std::size_t Series::Bytes() const {
    return times.capacity() * sizeof(std::int64_t) + (values.capacity() + results.capacity()) * sizeof(double) +
           changed.capacity() * sizeof(std::size_t);
}

HRESULT Series::Append(std::int64_t time, Row bar) { return Rewrite(BarCount(), {&time, 1}, bar); }

HRESULT Series::ChangeLast(Row bar) {
    return BarCount() == 0 ? static_cast<HRESULT>(E_INVALIDARG) : Correct(BarCount() - 1, bar);
}

HRESULT Series::Correct(std::size_t bar, Row given) {
    if (bar >= BarCount() || given.size() != row.size()) return E_INVALIDARG;
    Store(bar, given);
    return CalculateFrom(bar);
}

HRESULT Series::Rewrite(std::size_t first, std::span<const std::int64_t> newTimes, Row rows) {
    if (first > BarCount() || rows.size() != newTimes.size() * row.size()) return E_INVALIDARG;
    const bool fits = first == 0 || newTimes.empty() || newTimes.front() > times[first - 1];
    if (!fits || std::ranges::adjacent_find(newTimes, std::ranges::greater_equal()) != newTimes.end()) {
        return E_INVALIDARG;
    }
    // All room that is needed comes first, so that running out of memory changes nothing.
    const std::size_t count = first + newTimes.size(), oldCount = BarCount();
    const HRESULT status = Guarded([&] {
        if (count > times.capacity()) times.reserve(std::max(count, 2 * times.capacity()));
        values.resize(count * used.size());
        results.resize(count * width);
        return S_OK;
    });
    if (FAILED(status)) {
        values.resize(oldCount * used.size());
        results.resize(std::min(results.size(), oldCount * width));
        return status;
    }
    times.resize(first);
    times.insert(times.end(), newTimes.begin(), newTimes.end());
    for (std::size_t bar = first; bar < count; ++bar) {
        Store(bar, rows.subspan((bar - first) * row.size(), row.size()));
    }
    calculated = std::min(calculated, first);
    return CalculateFrom(first);
}

void Series::Store(std::size_t bar, Row given) {
    for (std::size_t i = 0; i < used.size(); ++i) values[bar * used.size() + i] = given[used[i]];
}

// Calculates `bar`, or the last one if there are fewer, and all bars behind it.
HRESULT Series::CalculateFrom(std::size_t bar) {
    const std::size_t count = BarCount();
    bar = std::min({bar, calculated, std::max<std::size_t>(count, 1) - 1});
    changed.clear();
    HRESULT status = Guarded([&] { return GoBackTo(bar); });
    while (SUCCEEDED(status) && position < count) {
        const std::size_t next = position;
        status = Guarded([&] { return Step(next); });
        if (SUCCEEDED(status) && next >= bar) status = Guarded([&] { return Keep(next); });
        if (FAILED(status)) calculated = std::min(calculated, std::max(next, bar));
    }
    if (FAILED(status)) {  // nothing is known of the operators any more
        kept = 0;
        position = top = NoBar;
    }
    return status;
}

// Brings the running state to just before `bar`, or to an earlier bar if it must.
HRESULT Series::GoBackTo(std::size_t bar) {
    if (position == bar) return S_OK;
    if (top == bar && position == bar + 1) {
        position = bar;
        return Expected(compilation->graph.Restore(TopSlot()));
    }
    const std::size_t distance = settings.snapshotDistance;
    const std::size_t slot = distance > 0 ? std::min(bar / distance, kept) : 0;
    if (slot == 0) return Start();
    kept = slot - 1;  // saved once more on the way
    position = slot * distance;
    top = NoBar;
    return Expected(compilation->graph.Restore(static_cast<short>(slot)));
}

HRESULT Series::Start() {
    kept = 0;
    position = 0;
    top = NoBar;
    if (settings.priceStep) compilation->graph.SetPriceStep(*settings.priceStep);
    return compilation->graph.Reset({0, settings.holdsInputs});
}

// Each bar is the last one of the series when it comes.
HRESULT Series::Step(std::size_t bar) {
    if (top != bar) {
        if (const HRESULT status = SaveBefore(bar); FAILED(status)) return status;
        top = bar;
    }
    for (std::size_t i = 0; i < used.size(); ++i) row[used[i]] = values[bar * used.size() + i];
    position = bar + 1;
    return compilation->graph.Step(row.data(), 0);
}

// A snapshot shares the history of its windows with the running state for as long as the running state only adds to it.
// An operator that goes on from a snapshot which stays would have to keep all bars since then, so it goes on from the
// top slot, which is saved anew with each bar: that costs next to nothing. So a snapshot that stays is saved as the top
// slot first; the next slot becomes the top one, and the running state is taken from there.
HRESULT Series::SaveBefore(std::size_t bar) {
    Graph& graph = compilation->graph;
    const bool stays = settings.snapshotDistance > 0 && bar > 0 && bar % settings.snapshotDistance == 0;
    if (stays && kept == settings.mostSnapshots) return MakeRoom(bar);
    HRESULT status = Expected(graph.Save(TopSlot()));
    if (!stays || FAILED(status)) return status;
    ++kept;
    status = Expected(graph.Save(TopSlot()));
    return FAILED(status) ? status : Expected(graph.Restore(TopSlot()));
}

// All slots are used up. Slots above a saved one may be lost, so the bars are taken in once more, with half as many
// snapshots, twice as far apart.
HRESULT Series::MakeRoom(std::size_t bar) {
    settings.snapshotDistance *= 2;
    HRESULT status = Start();
    for (std::size_t next = 0; SUCCEEDED(status) && next < bar; ++next) status = Step(next);
    return FAILED(status) ? status : SaveBefore(bar);
}

HRESULT Series::Keep(std::size_t bar) {
    bool differs = bar >= calculated;
    double* place = results.data() + bar * width;
    for (const ResultColumn& result : compilation->results) {
        const double value = compilation->graph.Values()[result.place];
        differs |= std::bit_cast<std::uint64_t>(*place) != std::bit_cast<std::uint64_t>(value);
        *place++ = value;
    }
    if (differs) changed.push_back(bar);
    calculated = std::max(calculated, bar + 1);
    return S_OK;
}

}  // namespace sarvane::study
