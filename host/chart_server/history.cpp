#include "chart_server/history.h"

#include <algorithm>
#include <unordered_map>

namespace sarvane::study {
namespace {

constexpr std::size_t MostChanges = 200'000;  // some tens of megabytes

}  // namespace

void History::Take(std::size_t bar, const std::vector<double>* before) {
    changes.push_back({bar, before == nullptr, before ? *before : std::vector<double>()});
    if (changes.size() <= MostChanges) return;
    changes.pop_front();
    ++firstUpdate;
}

void History::Forget() {
    firstUpdate = LastUpdate() + 1;
    changes.clear();
    seriesAt.reset();
}

std::size_t History::CountAfter(std::uint64_t update, std::size_t presentCount) const {
    for (std::size_t i = static_cast<std::size_t>(update - firstUpdate); i < changes.size(); ++i) {
        if (changes[i].isNew) return changes[i].bar;
    }
    return presentCount;
}

History::Moment History::After(std::uint64_t update, std::size_t presentCount) const {
    update = std::clamp(update, firstUpdate, LastUpdate());
    return {update, CountAfter(update, presentCount)};
}

History::Moment History::AtEndOf(std::size_t bar, std::size_t presentCount) const {
    bar = std::min(bar, presentCount - 1);
    for (std::size_t i = 0; i < changes.size(); ++i) {
        if (changes[i].isNew && changes[i].bar > bar) return {firstUpdate + i, bar + 1};
    }
    return {LastUpdate(), bar + 1};
}

std::vector<History::Values> History::ChangedSince(const Moment& moment) const {
    std::unordered_map<std::size_t, const std::vector<double>*> first;
    for (std::size_t i = static_cast<std::size_t>(moment.update - firstUpdate); i < changes.size(); ++i) {
        if (!changes[i].isNew && changes[i].bar < moment.barCount) first.emplace(changes[i].bar, &changes[i].before);
    }
    std::vector<Values> values;
    for (const auto& [bar, row] : first) values.push_back({bar, row});
    std::ranges::sort(values, {}, &Values::bar);
    return values;
}

History::Way History::WayTo(const Moment& moment, const BarFile& present) {
    std::size_t first = 0;
    if (seriesAt && seriesAt->update >= firstUpdate) {
        first = std::min(seriesAt->barCount, moment.barCount);
        const auto [from, to] = std::minmax(seriesAt->update, moment.update);
        for (std::uint64_t update = from; update < to; ++update)
            first = std::min(first, changes[static_cast<std::size_t>(update - firstUpdate)].bar);
    }
    Way way{first, {}, {}};
    const std::vector<Values> changed = ChangedSince(moment);
    auto next = std::ranges::lower_bound(changed, first, {}, &Values::bar);
    for (std::size_t bar = first; bar < moment.barCount; ++bar) {
        way.times.push_back(static_cast<std::int64_t>(bar));
        if (next != changed.end() && next->bar == bar) {
            way.rows.insert(way.rows.end(), next->row->begin(), next->row->end());
            ++next;
            continue;
        }
        for (std::size_t column = 0; column < present.Columns().size(); ++column)
            way.rows.push_back(present.Value(column, bar));
    }
    seriesAt = moment;
    return way;
}

void History::Calculate(const Way& way) { Checked(series->Rewrite(way.first, way.times, way.rows)); }

}  // namespace sarvane::study
