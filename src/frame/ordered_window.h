#pragma once

#include "frame/history_ring.h"

#include <array>
#include <bit>
#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

namespace sarvane {

// The oldest values of a window in ascending order, -0.0 below 0.0 and NaNs at the ends. An operator has one of these
// beside its records, and a snapshot doesn't copy it: a record only keeps the version of its window. On the next bar the
// version tells whether the order is still that of the record's window, that of one or two pushes later, which are then
// undone, or of any other window. Only in the last case all values are sorted.
class OrderedWindow {
public:
    using Version = std::uint64_t;
    // Of a window that was changed by anything but a push.
    static constexpr Version Unknown = 0;

    // Puts the oldest `count` values of `window` in order, and gives its version. `before` is the version that the window
    // had before its newest element was pushed; `dropped` is the element that the push dropped.
    Version Follow(Version before, const HistoryRing& window, int count, std::optional<double> dropped);

    // Puts all values of `window` in order, without a push. `version` is the version that it has.
    Version Order(Version version, const HistoryRing& window);

    int Size() const { return static_cast<int>(keys.size()); }
    // The value at a place, 0 being the lowest.
    double operator[](int place) const { return std::bit_cast<double>(Swapped(keys[static_cast<std::size_t>(place)])); }

    bool HasNaN() const {
        constexpr double Infinity = std::numeric_limits<double>::infinity();
        return !keys.empty() && (keys.front() < KeyOf(-Infinity) || keys.back() > KeyOf(Infinity));
    }
    // Whether there are 0.0 and -0.0.
    bool HasBothZeros() const;

private:
    // The bits of a double as a whole number. Those of a negative double are inverted, so that keys have the order of the
    // values that they stand for.
    using Key = std::int64_t;
    static constexpr Key Swapped(Key bits) {
        return bits ^ static_cast<Key>(static_cast<std::uint64_t>(bits >> 63) >> 1);
    }
    static constexpr Key KeyOf(double value) { return Swapped(std::bit_cast<Key>(value)); }

    // What a push did to the order.
    struct Change {
        Version before = Unknown;
        std::optional<double> dropped;
        double added = 0.0;
    };

    static constexpr Version None = UINT64_MAX;  // which no window has

    bool IsPush(int count, bool drops) const { return Size() > 0 && count == Size() + !drops; }
    Version FollowAnyChange(const HistoryRing& window, int count, std::optional<double> dropped);
    Version Sort(const HistoryRing& window, int count);
    void UndoNewest();
    std::size_t PlaceOf(Key key) const;
    void Insert(double value);
    void Erase(double value);
    void Replace(double old, double value);

    std::vector<Key> keys;
    Version latest = Unknown;       // that was given
    Version present = None;         // of the window that `keys` is the order of
    std::array<Change, 2> changes;  // the last pushes, the newest one first
};

}  // namespace sarvane
