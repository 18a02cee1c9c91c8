#pragma once

namespace sarvane {

// The element of a sliding window that no other one lies beyond, the oldest of several. `isBeyond(a, b)` says whether
// `a` takes the place of `b`; elements that have no order, such as a NaN, can take part.
//
// The place is kept from bar to bar. The window is searched only if the extreme has left it, or if its oldest element
// has no order: a search starts there, and its result then differs from that of the search before.
class ExtremePlace {
public:
    // To be called after a bar on which Follow is not: the window has changed then.
    void Forget() { bars = Unknown; }

    // How many bars ago the extreme was. Since the call before the window got one element, and lost its oldest if it is
    // no longer than it was. `hasOrder` says whether an element can be compared.
    template <class Window, class Beyond, class Order>
    int Follow(const Window& window, Beyond isBeyond, Order hasOrder) {
        const bool isInside = bars != Unknown && bars + 1 < window.Size();
        if (!isInside || !hasOrder(window[0])) return bars = Search(window, window.Size(), isBeyond);
        ++bars;
        if (isBeyond(window.Newest(), window.Newest(bars))) bars = 0;
        return bars;
    }

    // The same for the newest `count` elements, without what is known from the bar before.
    template <class Window, class Beyond>
    static int Search(const Window& window, int count, Beyond isBeyond) {
        const int skipped = window.Size() - count;
        const auto* extreme = &window[skipped];
        int left = count;
        int place = count - 1;
        const auto compare = [&](const auto& element) {
            --left;
            if (!isBeyond(element, *extreme)) return;
            extreme = &element;
            place = left;
        };
        window.OldestFirst(count, compare, skipped);
        return place;
    }

private:
    static constexpr int Unknown = -1;

    int bars = Unknown;
};

}  // namespace sarvane
