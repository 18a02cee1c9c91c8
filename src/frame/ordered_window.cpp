#include "frame/ordered_window.h"

#include <algorithm>
#include <cstdlib>

namespace sarvane {
namespace {

// If more keys than this are to be added and removed, the whole window is sorted instead.
constexpr int FewChanges = 8;

}  // namespace

// A bar that is repeated with another value pushes onto the same window as before: the first push is undone then. Both
// pushes drop the same element.
OrderedWindow::Version OrderedWindow::Follow(Version before, const HistoryRing& window, int count,
                                             std::optional<double> dropped) {
    if (before != Unknown && before == changes[1].before) UndoNewest();
    Change& newest = changes[0];
    if (before == present && IsPush(count, dropped.has_value())) {
        const double added = window[count - 1];
        dropped ? Replace(*dropped, added) : Insert(added);
        changes[1] = newest;
        newest = {before, dropped, added};
        return present = ++latest;
    }
    if (before != Unknown && before == newest.before && count == Size() &&
        dropped.has_value() == newest.dropped.has_value()) {
        const double added = window[count - 1];
        Replace(newest.added, added);
        newest.added = added;
        return present = ++latest;
    }
    const bool isNear = before == present && std::abs(count - Size()) < FewChanges;
    present = None;  // until all has succeeded
    changes = {};
    return isNear ? FollowAnyChange(window, count, dropped) : Sort(window, count);
}

OrderedWindow::Version OrderedWindow::Order(Version version, const HistoryRing& window) {
    if (version != Unknown && version == changes[1].before) UndoNewest();
    if (version != Unknown && version == changes[0].before) UndoNewest();
    if (version == present) return version;
    present = None;  // until all has succeeded
    changes = {};
    return Sort(window, window.Size());
}

// For more or fewer values than before.
OrderedWindow::Version OrderedWindow::FollowAnyChange(const HistoryRing& window, int count,
                                                      std::optional<double> dropped) {
    if (dropped && Size() > 0) Erase(*dropped);
    while (Size() < count) Insert(window[Size()]);
    while (Size() > count) Erase(window[Size() - 1]);
    return present = ++latest;
}

OrderedWindow::Version OrderedWindow::Sort(const HistoryRing& window, int count) {
    keys.clear();
    window.OldestFirst(count, [this](double value) { keys.push_back(KeyOf(value)); });
    std::ranges::sort(keys);
    return present = ++latest;
}

void OrderedWindow::UndoNewest() {
    const Change& newest = changes[0];
    newest.dropped ? Replace(newest.added, *newest.dropped) : Erase(newest.added);
    present = newest.before;
    changes = {changes[1], Change()};
}

bool OrderedWindow::HasBothZeros() const {
    const std::size_t place = PlaceOf(KeyOf(0.0));
    return place > 0 && place < keys.size() && keys[place] == KeyOf(0.0) && keys[place - 1] == KeyOf(-0.0);
}

// How many keys are below `key`. Bisection without branches, since a processor can't predict them.
std::size_t OrderedWindow::PlaceOf(Key key) const {
    const Key* first = keys.data();
    for (std::size_t left = keys.size(); left > 0;) {
        const std::size_t half = (left + 1) / 2;
        first = first[half - 1] < key ? first + half : first;
        left -= half;
    }
    return static_cast<std::size_t>(first - keys.data());
}

void OrderedWindow::Insert(double value) {
    const Key key = KeyOf(value);
    keys.insert(keys.begin() + static_cast<std::ptrdiff_t>(PlaceOf(key)), key);
}

void OrderedWindow::Erase(double value) {
    keys.erase(keys.begin() + static_cast<std::ptrdiff_t>(PlaceOf(KeyOf(value))));
}

// Moves only the keys between both places.
void OrderedWindow::Replace(double old, double value) {
    const Key key = KeyOf(value);
    Key* const from = keys.data() + PlaceOf(KeyOf(old));
    Key* const to = keys.data() + PlaceOf(key);
    if (to > from) {
        std::copy(from + 1, to, from);
        to[-1] = key;
    } else {
        std::copy_backward(to, from, from + 1);
        *to = key;
    }
}

}  // namespace sarvane
